#include "device/daemon/pace.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

#include "device/base/timer_loop.h"
#include "tarsel/timer.h"

namespace {

using Tarsel::TimerLoop;
using vantacored::Pace;
using vantacored::Traffic;

constexpr unsigned int TICKS_A_PASS = 100;

/// A device in virtual time: a pass every 100 ticks, after each of which the pace looks. A pass is
/// a turn of the loop, too.
class PaceInVirtualTime : public testing::Test {
 protected:
  PaceInVirtualTime() {
    TimerLoop::SetCurrent(&loop);
    passes.SetCallback(new Tarsel::MemberCallback2<PaceInVirtualTime, unsigned int, void*>(
        this, &PaceInVirtualTime::Pass));
    passes.Start(TICKS_A_PASS);
  }
  ~PaceInVirtualTime() override {
    TimerLoop::SetCurrent(nullptr);
    TimerLoop::SetTickMicroseconds(1000);
  }

  std::uint64_t Now() const { return loop.Now() / 1000; }
  unsigned int Tick() const { return TimerLoop::GetTickMicroseconds(); }
  // What the tick is at the end of this turn.
  unsigned int Look() {
    pace->Look();
    return Tick();
  }
  // How many passes there are in so many milliseconds.
  int PassesIn(std::uint64_t milliseconds) {
    const int before = count;
    loop.AdvanceMilliseconds(milliseconds);
    return count - before;
  }
  void MakePace(std::optional<unsigned int> fixed = std::nullopt) {
    pace.emplace(
        [this] {
          ++looks;
          return traffic;
        },
        [this] { return Now(); }, fixed);
  }

  Tarsel::VirtualLoop loop;
  Tarsel::PeriodicTimer passes{"Passes"};
  Traffic traffic;
  std::uint64_t concludedAPass = 0;
  std::optional<Pace> pace;
  int count = 0;
  int looks = 0;

 private:
  void Pass(unsigned int, void*) {
    ++count;
    traffic.concluded += concludedAPass;
    if (pace) {
      pace->Look();
    }
  }
};

TEST_F(PaceInVirtualTime, IsIdleAtFirst) {
  MakePace();
  EXPECT_EQ(Tick(), Pace::IDLE_MICROSECONDS);
  EXPECT_EQ(Look(), Pace::IDLE_MICROSECONDS);
  EXPECT_LE(PassesIn(10000), 10) << "an idle process is woken once a second";
}

TEST_F(PaceInVirtualTime, IsShortWhileRequestsWaitAndSucceed) {
  MakePace();
  loop.AdvanceMilliseconds(50000);
  traffic.waiting = 3;
  EXPECT_EQ(Look(), Pace::SHORT_MICROSECONDS) << "in the very turn in which they came";
  concludedAPass = 31;
  EXPECT_EQ(PassesIn(1000), 5000);
  EXPECT_EQ(Tick(), Pace::SHORT_MICROSECONDS);
  traffic.waiting = 0;
  EXPECT_EQ(Look(), Pace::IDLE_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, DoesNotWakeForAStackThatAcceptsNothing) {
  MakePace();
  loop.AdvanceMilliseconds(5000);
  traffic.waiting = 3;
  Look();
  loop.AdvanceMilliseconds(Pace::PATIENCE_MILLISECONDS - 1);
  EXPECT_EQ(Look(), Pace::SHORT_MICROSECONDS);
  loop.AdvanceMilliseconds(1);
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
  EXPECT_LE(PassesIn(10000), 100);
  traffic.waiting = 4;  // another request alone changes nothing
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
  ++traffic.concluded;
  EXPECT_EQ(Look(), Pace::SHORT_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, GivesTheStackItsTimeFromEachSuccessOn) {
  MakePace();
  traffic.waiting = 3;
  Look();
  for (int i = 0; i < 10; ++i) {
    loop.AdvanceMilliseconds(Pace::PATIENCE_MILLISECONDS - 1);
    ++traffic.concluded;
    EXPECT_EQ(Look(), Pace::SHORT_MICROSECONDS) << i;
  }
  loop.AdvanceMilliseconds(Pace::PATIENCE_MILLISECONDS);
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, LeavesAHundredMillisecondsBetweenTwoTries) {
  MakePace();
  traffic = {5, 5, 0};
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
  EXPECT_EQ(PassesIn(1000), 10);
  traffic.concluded = 7;  // something else succeeded
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, DoesNotLetOthersWaitForRetries) {
  MakePace();
  traffic = {5, 5, 0};
  Look();
  loop.AdvanceMilliseconds(5000);
  traffic = {105, 5, 0};
  EXPECT_EQ(Look(), Pace::SHORTEST_MICROSECONDS);
  concludedAPass = 1;
  loop.AdvanceMilliseconds(5000);
  EXPECT_EQ(Look(), Pace::SHORTEST_MICROSECONDS);
  traffic.waiting = 5;
  EXPECT_EQ(Look(), Pace::NORMAL_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, MakesUpForPassesThatFindGivenUpItemsOnly) {
  MakePace();
  traffic.givenUp = 1;
  EXPECT_EQ(Look(), Pace::IDLE_MICROSECONDS) << "nobody sends them again";
  traffic.waiting = 3;
  EXPECT_EQ(Look(), Pace::SHORTEST_MICROSECONDS);
  EXPECT_EQ(Pace::SHORTEST_MICROSECONDS * 2, Pace::SHORT_MICROSECONDS);
  traffic.givenUp = 0;
  EXPECT_EQ(Look(), Pace::SHORT_MICROSECONDS);
}

TEST_F(PaceInVirtualTime, TakesUpWhatCameWhileItWasIdleAtOnce) {
  MakePace();
  Look();
  loop.AdvanceMilliseconds(500);
  const int before = count;
  traffic.waiting = 1;
  Look();
  loop.AdvanceMilliseconds(1);
  EXPECT_GT(count, before) << "the period under way is shortened";
}

TEST_F(PaceInVirtualTime, KeepsATickThatTheOperatorWants) {
  MakePace(70);
  EXPECT_EQ(Tick(), 70u);
  traffic.waiting = 3;
  EXPECT_EQ(Look(), 70u);
  pace->Fix(10);
  EXPECT_EQ(Tick(), 10u);
  EXPECT_EQ(Look(), 10u);
  pace->Fix(std::nullopt);
  EXPECT_EQ(Tick(), 70u);
  EXPECT_EQ(looks, 0) << "nobody needs to count for it";
}

TEST_F(PaceInVirtualTime, GoesBackToTheWorkWhenATickIsGivenBack) {
  MakePace();
  pace->Fix(10);
  EXPECT_EQ(Tick(), 10u);
  traffic.waiting = 3;
  EXPECT_EQ(Look(), 10u);
  pace->Fix(std::nullopt);
  EXPECT_EQ(Tick(), Pace::SHORT_MICROSECONDS);
  pace->Fix(10);
  traffic.waiting = 0;
  pace->Fix(std::nullopt);
  EXPECT_EQ(Tick(), Pace::IDLE_MICROSECONDS);
}

}  // namespace
