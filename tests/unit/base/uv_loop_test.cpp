// Timers in real time. What is asserted holds however slow the machine is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tarsel/timer.h"
#include "timer_recorder.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using Tarsel::TimerLoop;
using Tarsel::UvLoop;
using testing::ElementsAre;

namespace {

class RealTime : public testing::Test {
 protected:
  RealTime() {
    EXPECT_EQ(uv_loop_init(&uv), 0);
    loop = std::make_unique<UvLoop>(&uv);
    TimerLoop::SetCurrent(loop.get());
  }

  ~RealTime() override {
    loop.reset();
    uv_run(&uv, UV_RUN_DEFAULT);
    EXPECT_EQ(uv_loop_close(&uv), 0) << "a handle was left open";
  }

  void Run() { uv_run(&uv, UV_RUN_DEFAULT); }
  void Spin(std::uint64_t microseconds) const {
    const std::uint64_t end = loop->Now() + microseconds;
    while (loop->Now() < end) {
    }
  }

  TimerSettings settings;
  uv_loop_t uv;
  std::unique_ptr<UvLoop> loop;
};

// Counts the turns of the loop, without keeping it alive.
class TurnCounter {
 public:
  explicit TurnCounter(uv_loop_t* loop) {
    uv_check_init(loop, &m_check);
    m_check.data = this;
    uv_check_start(&m_check,
                   [](uv_check_t* check) { ++static_cast<TurnCounter*>(check->data)->turns; });
    uv_unref(reinterpret_cast<uv_handle_t*>(&m_check));
  }
  ~TurnCounter() {
    uv_close(reinterpret_cast<uv_handle_t*>(&m_check), nullptr);
    uv_run(m_check.loop, UV_RUN_NOWAIT);
  }

  int turns = 0;

 private:
  uv_check_t m_check;
};

}  // namespace

TEST_F(RealTime, NeverGoesBack) {
  std::uint64_t before = loop->Now();
  for (int i = 0; i < 1000; ++i) {
    const std::uint64_t now = loop->Now();
    ASSERT_GE(now, before);
    before = now;
  }
}

TEST_F(RealTime, FiresInOrderAndNotTooEarly) {
  OneShotTimer a("a"), b("b"), c("c");
  std::vector<std::string> fired;
  const std::uint64_t begin = loop->Now();
  const auto note = [&](const char* name, std::uint64_t milliseconds) {
    return [&fired, name, milliseconds, begin, this] {
      fired.push_back(name);
      EXPECT_GE(loop->Now(), begin + milliseconds * 1000) << name;
    };
  };
  OnExpiry(a, note("a", 6));
  OnExpiry(b, note("b", 2));
  OnExpiry(c, note("c", 6));
  a.Start(6);
  b.Start(2);
  c.Start(6);
  Run();
  EXPECT_THAT(fired, ElementsAre("b", "a", "c"));
}

TEST_F(RealTime, KeepsTheLoopAliveOnlyWhileATimerRuns) {
  OneShotTimer timer("a");
  EXPECT_EQ(uv_loop_alive(&uv), 0);
  timer.Start(100000);
  EXPECT_NE(uv_loop_alive(&uv), 0);
  timer.Stop();
  EXPECT_EQ(uv_loop_alive(&uv), 0);
}

TEST_F(RealTime, AnEarlierStartMovesTheAlarm) {
  OneShotTimer late("late"), early("early");
  int fired = 0;
  OnExpiry(early, [&] {
    ++fired;
    late.Stop();
  });
  OnExpiry(late, [] { FAIL(); });
  late.Start(100000);
  early.Start(1);
  Run();
  EXPECT_EQ(fired, 1);
}

TEST_F(RealTime, APeriodicTimerFiresUntilStopped) {
  PeriodicTimer timer("a");
  int fired = 0;
  OnExpiry(timer, [&] {
    if (++fired == 5) {
      timer.Stop();
    }
  });
  const std::uint64_t begin = loop->Now();
  timer.Start(2);
  Run();
  EXPECT_EQ(fired, 5);
  EXPECT_GE(loop->Now() - begin, 10000u);
}

TEST_F(RealTime, TimersMayBeDestroyedInTheirCallbacks) {
  auto timer = std::make_unique<PeriodicTimer>("a");
  OnExpiry(*timer, [&] { timer.reset(); });
  timer->Start(1);
  Run();
  EXPECT_EQ(timer, nullptr);
}

// A period far below a millisecond would otherwise come once in a millisecond at best.
TEST_F(RealTime, AShortPeriodCatchesUpWithinATurn) {
  TimerLoop::SetTickMicroseconds(20);
  TurnCounter counter(&uv);
  PeriodicTimer timer("a");
  int fired = 0;
  OnExpiry(timer, [&] {
    if (++fired == 1000) {
      timer.Stop();
    }
  });
  timer.Start(1);
  Run();
  EXPECT_EQ(fired, 1000);
  EXPECT_LT(counter.turns, 250);
}

// Three times two milliseconds is where five milliseconds of work are over.
TEST_F(RealTime, ATurnIsBoundedHoweverMuchIsDue) {
  TimerLoop::SetTickMicroseconds(1);
  TurnCounter counter(&uv);
  PeriodicTimer timer("a");
  int fired = 0;
  int turn = -1;
  int inTurn = 0;
  int most = 0;
  OnExpiry(timer, [&] {
    inTurn = counter.turns == turn ? inTurn + 1 : 1;
    turn = counter.turns;
    most = std::max(most, inTurn);
    Spin(2000);
    if (++fired == 20) {
      timer.Stop();
    }
  });
  timer.Start(10);
  Run();
  EXPECT_LE(most, 3);
  EXPECT_GE(counter.turns, 6);
}

TEST_F(RealTime, AStallIsNotRepaid) {
  constexpr std::uint64_t STALL = 100000;
  constexpr std::uint64_t END = 140000;
  PeriodicTimer timer("a");
  std::uint64_t fired = 0;
  const std::uint64_t begin = loop->Now();
  OnExpiry(timer, [&] {
    if (++fired == 1) {
      Spin(STALL);
    }
    if (loop->Now() >= begin + END) {
      timer.Stop();
    }
  });
  timer.Start(1);
  Run();
  const std::uint64_t elapsed = (loop->Now() - begin) / 1000;
  EXPECT_LE(fired, elapsed - STALL / 1000 + 2);
}

TEST_F(RealTime, ADueOneShotTimerComesBeforeTheNextPeriodOfAHog) {
  PeriodicTimer hog("hog");
  OneShotTimer once("once");
  int hogs = 0;
  int hogsBefore = -1;
  OnExpiry(hog, [&] {
    Spin(6000);
    if (++hogs == 10) {
      hog.Stop();
    }
  });
  OnExpiry(once, [&] { hogsBefore = hogs; });
  hog.Start(1);
  once.Start(2);
  Run();
  EXPECT_EQ(hogsBefore, 1);
}

// Other handles of the loop must get their turn.
TEST_F(RealTime, ATimerThatStartsItselfAgainWithoutDelayLeavesTheLoopToOthers) {
  OneShotTimer timer("a");
  int fired = 0;
  bool other = false;
  OnExpiry(timer, [&] {
    if (!other && ++fired < 100000) {
      timer.Start(0);
    }
  });
  uv_timer_t uvTimer;
  uv_timer_init(&uv, &uvTimer);
  uvTimer.data = &other;
  timer.Start(0);
  uv_timer_start(
      &uvTimer,
      [](uv_timer_t* handle) {
        *static_cast<bool*>(handle->data) = true;
        uv_close(reinterpret_cast<uv_handle_t*>(handle), nullptr);
      },
      5, 0);
  Run();
  EXPECT_TRUE(other);
  EXPECT_LT(fired, 100000);
}

TEST_F(RealTime, ANewTickReachesARunningTimer) {
  TimerLoop::SetTickMicroseconds(1000000);
  PeriodicTimer timer("a");
  OnExpiry(timer, [&] { timer.Stop(); });
  const std::uint64_t begin = loop->Now();
  timer.Start(1000);
  TimerLoop::SetTickMicroseconds(1);
  Run();
  EXPECT_LT(loop->Now() - begin, 500000000u);
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(RealTime, ALoopThatGoesStopsItsTimers) {
  OneShotTimer timer("a");
  OnExpiry(timer, [] { FAIL(); });
  timer.Start(1);
  loop.reset();
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_EQ(TimerLoop::GetCurrent(), nullptr);
  Run();
}
