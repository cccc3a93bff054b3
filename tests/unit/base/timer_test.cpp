// Timers in virtual time.
#include "tarsel/timer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "timer_recorder.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using Tarsel::TimerLoop;
using Tarsel::VirtualLoop;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Timers : public testing::Test {
 protected:
  Timers() { TimerLoop::SetCurrent(&loop); }

  // Each expiry of the timer is noted as "name@milliseconds".
  void Note(Tarsel::TimerBase& timer) {
    OnExpiry(timer, [this, &timer] { Note(timer.GetName()); });
  }
  void Note(const std::string& name) {
    std::string text = name + "@" + std::to_string(loop.Now() / 1000);
    if (loop.Now() % 1000 != 0) {
      text += "." + std::to_string(loop.Now() % 1000);
    }
    fired.push_back(text);
  }
  std::vector<std::string> TakeFired() { return std::exchange(fired, {}); }

  TimerSettings settings;
  VirtualLoop loop;
  std::vector<std::string> fired;
};

}  // namespace

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

// ---- Inside callbacks

TEST_F(Timers, AOneShotTimerIsIdleInsideItsCallbackAndAPeriodicOneRuns) {
  OneShotTimer once("once");
  PeriodicTimer often("often");
  std::vector<bool> running;
  OnExpiry(once, [&] { running.push_back(once.IsRunning()); });
  OnExpiry(often, [&] { running.push_back(often.IsRunning()); });
  once.Start(5);
  often.Start(10);
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(running, ElementsAre(false, true));
}

TEST_F(Timers, AOneShotTimerMayStartAgainInsideItsCallback) {
  OneShotTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    if (fired.size() < 3) {
      timer.Start(10 * static_cast<unsigned int>(fired.size()));
    }
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("a@5", "a@15", "a@35"));
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, APeriodicTimerMayStopInsideItsCallback) {
  PeriodicTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    timer.Stop();
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("a@5"));
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, APeriodicTimerMayChangeItsPeriodInsideItsCallback) {
  PeriodicTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    timer.Start(30);
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(70);
  EXPECT_THAT(fired, ElementsAre("a@5", "a@35", "a@65"));
}

TEST_F(Timers, ATimerMayBeDestroyedInsideItsCallback) {
  auto once = std::make_unique<OneShotTimer>("once");
  auto often = std::make_unique<PeriodicTimer>("often");
  OnExpiry(*once, [&] {
    once.reset();
    Note("once");
  });
  OnExpiry(*often, [&] {
    often.reset();
    Note("often");
  });
  once->Start(5);
  often->Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("once@5", "often@5"));
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ATimerMayStopOrDestroyOthersThatAreDueAtTheSameMoment) {
  OneShotTimer first("first"), stopped("stopped"), last("last");
  auto destroyed = std::make_unique<PeriodicTimer>("destroyed");
  Note(stopped);
  Note(*destroyed);
  Note(last);
  OnExpiry(first, [&] {
    Note("first");
    stopped.Stop();
    destroyed.reset();
  });
  first.Start(5);
  stopped.Start(5);
  destroyed->Start(5);
  last.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("first@5", "last@5"));
}

TEST_F(Timers, ATimerStartedWithoutDelayInACallbackFiresAtTheSameMomentAfterTheOthers) {
  OneShotTimer first("first"), second("second"), third("third");
  OnExpiry(first, [&] {
    Note("first");
    third.Start(0);
  });
  Note(second);
  Note(third);
  first.Start(5);
  second.Start(5);
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fired, ElementsAre("first@5", "second@5", "third@5"));
}

TEST_F(Timers, TimeMayBeMovedInsideACallbackAndDoesNotGoBack) {
  OneShotTimer first("first"), second("second");
  PeriodicTimer often("often");
  OnExpiry(first, [&] {
    Note("first");
    loop.AdvanceMilliseconds(20);
    Note("first again");
  });
  Note(second);
  Note(often);
  first.Start(5);
  second.Start(10);
  often.Start(12);
  loop.AdvanceMilliseconds(8);
  EXPECT_THAT(fired, ElementsAre("first@5", "second@10", "often@12", "often@24", "first again@25"));
  EXPECT_EQ(loop.Now(), 25000u);
}

// ---- Callbacks

TEST_F(Timers, ExpiryPassesZeroAndNull) {
  OneShotTimer timer("a");
  OnExpiry(timer, [] {});
  FunctionCallback::lastFirst = 7;
  FunctionCallback::lastSecond = &timer;
  timer.Start(1);
  loop.AdvanceMilliseconds(1);
  EXPECT_EQ(FunctionCallback::lastFirst, 0u);
  EXPECT_EQ(FunctionCallback::lastSecond, nullptr);
}

TEST_F(Timers, ATimerWithoutCallbackExpiresQuietly) {
  OneShotTimer timer("a");
  timer.Start(1);
  loop.AdvanceMilliseconds(1);
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, HoldAReferenceOnTheirCallback) {
  int count = 0;
  auto* callback = new FunctionCallback([&] { ++count; });
  {
    OneShotTimer first("first");
    {
      OneShotTimer second("second");
      first.SetCallback(callback);
      second.SetCallback(callback);
      first.Start(1);
      second.Start(1);
      loop.AdvanceMilliseconds(1);
      EXPECT_EQ(count, 2);
    }
    EXPECT_EQ(FunctionCallback::alive, 1);
    first.SetCallback(callback);
    EXPECT_EQ(FunctionCallback::alive, 1);
    first.Start(1);
    loop.AdvanceMilliseconds(1);
    EXPECT_EQ(count, 3);
  }
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ANewCallbackReleasesTheOldOne) {
  OneShotTimer timer("a");
  OnExpiry(timer, [] {});
  OnExpiry(timer, [] {});
  EXPECT_EQ(FunctionCallback::alive, 1);
  timer.SetCallback(nullptr);
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ACallbackMayReplaceItself) {
  OneShotTimer timer("a");
  OnExpiry(timer, [&] {
    OnExpiry(timer, [this] { Note("second"); });
    Note("first");
    timer.Start(1);
  });
  timer.Start(1);
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fired, ElementsAre("first@1", "second@2"));
  EXPECT_EQ(FunctionCallback::alive, 1);
}

// ---- Loops

TEST_F(Timers, ATimerWithoutALoopStaysIdle) {
  TimerLoop::SetCurrent(nullptr);
  EXPECT_EQ(TimerLoop::GetCurrent(), nullptr);
  OneShotTimer timer("a");
  Note(timer);
  timer.Start(1);
  EXPECT_FALSE(timer.IsRunning());
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, ATimerStaysOnTheLoopOfItsStart) {
  VirtualLoop other;
  OneShotTimer timer("a");
  Note(timer);
  timer.Start(5);
  TimerLoop::SetCurrent(&other);
  other.AdvanceMilliseconds(10);
  EXPECT_THAT(fired, IsEmpty());
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(TakeFired(), ElementsAre("a@5"));
}

TEST_F(Timers, AStartMovesATimerToTheCurrentLoop) {
  VirtualLoop other;
  OneShotTimer timer("a");
  int count = 0;
  OnExpiry(timer, [&] { ++count; });
  timer.Start(5);
  TimerLoop::SetCurrent(&other);
  timer.Start(5);
  loop.AdvanceMilliseconds(10);
  EXPECT_EQ(count, 0);
  other.AdvanceMilliseconds(10);
  EXPECT_EQ(count, 1);
}

TEST_F(Timers, ALoopThatGoesStopsItsTimersAndIsNoLongerCurrent) {
  OneShotTimer timer("a");
  PeriodicTimer often("b");
  auto other = std::make_unique<VirtualLoop>();
  TimerLoop::SetCurrent(other.get());
  timer.Start(5);
  often.Start(5);
  other.reset();
  EXPECT_EQ(TimerLoop::GetCurrent(), nullptr);
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_FALSE(often.IsRunning());
  timer.Stop();
}

TEST_F(Timers, RunNextJumpsToTheNextDeadlineAndFiresOneTimer) {
  OneShotTimer a("a"), b("b");
  Note(a);
  Note(b);
  a.Start(7);
  b.Start(7);
  EXPECT_TRUE(loop.RunNext());
  EXPECT_THAT(fired, ElementsAre("a@7"));
  EXPECT_TRUE(loop.RunNext());
  EXPECT_THAT(fired, ElementsAre("a@7", "b@7"));
  EXPECT_FALSE(loop.RunNext());
  EXPECT_EQ(loop.Now(), 7000u);
}

TEST_F(Timers, RunUntilStopsAsSoonAsTheConditionHolds) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(10);
  EXPECT_TRUE(loop.RunUntil([] { return true; }, 1000));
  EXPECT_EQ(loop.Now(), 0u);
  EXPECT_TRUE(loop.RunUntil([this] { return fired.size() == 3; }, 1000));
  EXPECT_EQ(loop.Now(), 30000u);
}

TEST_F(Timers, RunUntilGivesUpAtTheLimit) {
  PeriodicTimer timer("a");
  Note(timer);
  timer.Start(10);
  EXPECT_FALSE(loop.RunUntil([] { return false; }, 25));
  EXPECT_EQ(loop.Now(), 25000u);
  EXPECT_THAT(fired, ElementsAre("a@10", "a@20"));
  timer.Stop();
  EXPECT_TRUE(loop.RunUntil([this] { return loop.Now() == 35000; }, 10));
}

TEST_F(Timers, TellHowLongTheLoopMaySleep) {
  EXPECT_EQ(loop.MicrosecondsToNext(), UINT64_MAX);
  OneShotTimer later("a");
  OneShotTimer sooner("b");
  later.Start(20);
  sooner.Start(5);
  EXPECT_EQ(loop.MicrosecondsToNext(), 5000u);
  loop.AdvanceMicroseconds(1500);
  EXPECT_EQ(loop.MicrosecondsToNext(), 3500u);
  loop.AdvanceMilliseconds(10);
  EXPECT_EQ(loop.MicrosecondsToNext(), 8500u);
  later.Stop();
  EXPECT_EQ(loop.MicrosecondsToNext(), UINT64_MAX);
}

TEST_F(Timers, TheLongestTimesNeitherOverflowNorFire) {
  TimerLoop::SetTickMicroseconds(UINT_MAX);
  PeriodicTimer timer("a");
  OneShotTimer once("b");
  Note(timer);
  Note(once);
  loop.AdvanceMilliseconds(1000000000000);
  timer.Start(UINT_MAX);
  once.Start(UINT_MAX);
  loop.AdvanceMilliseconds(UINT_MAX - 1u);
  EXPECT_THAT(fired, IsEmpty());
  loop.AdvanceMilliseconds(1);
  EXPECT_EQ(fired.size(), 1u);
  EXPECT_TRUE(timer.IsRunning());
}
