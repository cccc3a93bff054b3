// Timers in virtual time: when they expire and in which order.
#include "tarsel/timer.h"

#include <memory>

#include "timer_fixture.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using Tarsel::TimerLoop;
using Tarsel::VirtualLoop;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- One-shot timers

TEST_F(Timers, AOneShotTimerFiresOnceAfterItsMilliseconds) {
  OneShotTimer timer("a");
  Note(timer);
  timer.Start(5);
  EXPECT_TRUE(timer.IsRunning());
  loop.AdvanceMicroseconds(4999);
  EXPECT_THAT(fired, IsEmpty());
  loop.AdvanceMicroseconds(1);
  EXPECT_THAT(fired, ElementsAre("a@5"));
  EXPECT_FALSE(timer.IsRunning());
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(fired, ElementsAre("a@5"));
}

TEST_F(Timers, ATimerWithoutDelayFiresWhenTheLoopRuns) {
  OneShotTimer timer("a");
  Note(timer);
  timer.Start(0);
  EXPECT_THAT(fired, IsEmpty());
  loop.AdvanceMilliseconds(0);
  EXPECT_THAT(fired, ElementsAre("a@0"));
}

TEST_F(Timers, AStartWhileRunningMovesTheExpiry) {
  OneShotTimer timer("a");
  Note(timer);
  timer.Start(10);
  loop.AdvanceMilliseconds(6);
  timer.Start(10);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(TakeFired(), ElementsAre("a@16"));
  timer.Start(50);
  timer.Start(1);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("a@107"));
}

TEST_F(Timers, AStoppedTimerDoesNotFire) {
  OneShotTimer once("once");
  PeriodicTimer often("often");
  Note(once);
  Note(often);
  once.Start(5);
  often.Start(5);
  once.Stop();
  often.Stop();
  once.Stop();
  EXPECT_FALSE(once.IsRunning());
  EXPECT_FALSE(often.IsRunning());
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, ADestroyedTimerDoesNotFire) {
  auto timer = std::make_unique<OneShotTimer>("a");
  Note(*timer);
  timer->Start(5);
  timer.reset();
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, HaveTheirNames) {
  EXPECT_STREQ(OneShotTimer("DcScheduler").GetName(), "DcScheduler");
  EXPECT_STREQ(PeriodicTimer(nullptr).GetName(), "");
}

// ---- Periodic timers

TEST_F(Timers, APeriodicTimerFiresEveryPeriodUntilStopped) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(350);
  EXPECT_THAT(TakeFired(), ElementsAre("a@100", "a@200", "a@300"));
  EXPECT_TRUE(timer.IsRunning());
  timer.Stop();
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, APeriodicTimerStartedAgainBeginsANewPeriod) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(90);
  timer.Start(20);
  loop.AdvanceMilliseconds(50);
  EXPECT_THAT(fired, ElementsAre("a@110", "a@130"));
}

TEST_F(Timers, APeriodOfNoTicksIsOneTick) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(0);
  loop.AdvanceMilliseconds(3);
  EXPECT_THAT(fired, ElementsAre("a@1", "a@2", "a@3"));
}

// ---- The tick

TEST_F(Timers, ATickIsAMillisecondByDefault) { EXPECT_EQ(TimerLoop::GetTickMicroseconds(), 1000u); }

TEST_F(Timers, AShorterTickShortensLaterPeriods) {
  TimerLoop::SetTickMicroseconds(10);
  EXPECT_EQ(TimerLoop::GetTickMicroseconds(), 10u);
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(3);
  EXPECT_THAT(fired, ElementsAre("a@1", "a@2", "a@3"));
}

TEST_F(Timers, ATickIsAtLeastAMicrosecond) {
  TimerLoop::SetTickMicroseconds(0);
  EXPECT_EQ(TimerLoop::GetTickMicroseconds(), 1u);
}

TEST_F(Timers, AOneShotTimerCountsMillisecondsWhateverTheTick) {
  OneShotTimer before("before");
  OneShotTimer after("after");
  Note(before);
  Note(after);
  before.Start(5);
  TimerLoop::SetTickMicroseconds(10);
  after.Start(6);
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(fired, ElementsAre("before@5", "after@6"));
}

TEST_F(Timers, ARunningPeriodIsShortened) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(110);
  TimerLoop::SetTickMicroseconds(200);
  loop.AdvanceMilliseconds(40);
  EXPECT_THAT(fired, ElementsAre("a@100", "a@120", "a@140"));
}

TEST_F(Timers, ARunningPeriodThatIsOverWithTheNewTickEndsNow) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(50);
  TimerLoop::SetTickMicroseconds(100);
  EXPECT_THAT(fired, IsEmpty());
  loop.AdvanceMilliseconds(20);
  EXPECT_THAT(fired, ElementsAre("a@50", "a@60", "a@70"));
}

TEST_F(Timers, ARunningPeriodIsStretched) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  loop.AdvanceMilliseconds(150);
  TimerLoop::SetTickMicroseconds(2000);
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(fired, ElementsAre("a@100", "a@300", "a@500"));
}

TEST_F(Timers, TheTickMayChangeInsideACallback) {
  PeriodicTimer timer("a");
  OnExpiry(timer, [this] {
    Note("a");
    TimerLoop::SetTickMicroseconds(100);
  });
  timer.Start(100);
  loop.AdvanceMilliseconds(120);
  EXPECT_THAT(fired, ElementsAre("a@100", "a@110", "a@120"));
}

TEST_F(Timers, AnotherLoopTakesANewTickFromItsNextPeriodOn) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(100);
  VirtualLoop other;
  TimerLoop::SetCurrent(&other);
  TimerLoop::SetTickMicroseconds(100);
  loop.AdvanceMilliseconds(120);
  EXPECT_THAT(fired, ElementsAre("a@100", "a@110", "a@120"));
}

// ---- Order

TEST_F(Timers, FireInTheOrderOfTheirDeadlines) {
  OneShotTimer a("a"), b("b"), c("c");
  for (OneShotTimer* timer : {&a, &b, &c}) {
    Note(*timer);
  }
  a.Start(30);
  b.Start(10);
  c.Start(20);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("b@10", "c@20", "a@30"));
}

TEST_F(Timers, EqualDeadlinesFireInTheOrderOfTheStarts) {
  OneShotTimer a("a"), b("b"), c("c"), d("d");
  for (OneShotTimer* timer : {&a, &b, &c, &d}) {
    Note(*timer);
  }
  c.Start(10);
  a.Start(10);
  d.Start(10);
  b.Start(10);
  a.Start(10);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("c@10", "d@10", "b@10", "a@10"));
}

TEST_F(Timers, APeriodicTimerKeepsTheOrderOfItsStart) {
  PeriodicTimer slow("slow"), quick("quick");
  OneShotTimer late("late");
  Note(slow);
  Note(quick);
  Note(late);
  slow.Start(20);
  quick.Start(10);
  loop.AdvanceMilliseconds(15);
  late.Start(5);
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(fired, ElementsAre("quick@10", "slow@20", "quick@20", "late@20"));
}
