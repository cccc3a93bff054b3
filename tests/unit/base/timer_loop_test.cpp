// Loops in virtual time.
#include "device/base/timer_loop.h"

#include <climits>
#include <memory>

#include "timer_fixture.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using Tarsel::TimerLoop;
using Tarsel::VirtualLoop;
using testing::ElementsAre;
using testing::IsEmpty;

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
