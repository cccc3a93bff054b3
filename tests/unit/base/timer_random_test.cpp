// Random use of the timers against a literal model: a plain list that is searched for the first
// deadline each time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tarsel/timer.h"
#include "tests/models/random_run.h"
#include "timer_recorder.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using Tarsel::TimerLoop;
using Tarsel::VirtualLoop;

namespace {

class Model {
 public:
  struct Running {
    int id;
    std::uint64_t deadline, start;
    std::uint64_t ticks;
  };

  void Start(int id, std::uint64_t delay, std::uint64_t ticks) {
    Stop(id);
    running.push_back({id, now + delay, starts++, ticks});
  }
  void Stop(int id) {
    running.erase(std::remove_if(running.begin(), running.end(),
                                 [id](const Running& r) { return r.id == id; }),
                  running.end());
  }
  bool IsRunning(int id) const {
    return std::any_of(running.begin(), running.end(),
                       [id](const Running& r) { return r.id == id; });
  }
  void Tick(std::uint64_t newTick) {
    for (Running& r : running) {
      if (r.ticks != 0) {
        r.deadline = std::max(now, r.deadline - r.ticks * tick + r.ticks * newTick);
      }
    }
    tick = newTick;
  }
  void Advance(std::uint64_t microseconds, std::vector<std::string>& fired) {
    const std::uint64_t end = now + microseconds;
    for (;;) {
      const auto next =
          std::min_element(running.begin(), running.end(), [](const Running& a, const Running& b) {
            return a.deadline != b.deadline ? a.deadline < b.deadline : a.start < b.start;
          });
      if (next == running.end() || next->deadline > end) {
        now = end;
        return;
      }
      now = next->deadline;
      fired.push_back(std::to_string(next->id) + "@" + std::to_string(now));
      if (next->ticks == 0) {
        running.erase(next);
      } else {
        next->deadline += next->ticks * tick;
      }
    }
  }

  std::uint64_t now = 0, tick = 1000, starts = 0;
  std::vector<Running> running;
};

}  // namespace

TEST(TimersAtRandom, BehaveLikeTheModel) {
  std::mt19937 random(test_models::Random().GetSeed());
  const unsigned int steps = test_models::Scaled(20000);
  const auto below = [&random](unsigned int limit) { return random() % limit; };

  const TimerSettings settings;
  VirtualLoop loop;
  TimerLoop::SetCurrent(&loop);
  Model model;
  std::vector<std::string> fired;
  std::vector<std::string> expected;
  constexpr int COUNT = 12;  // the first half fires once
  std::vector<std::unique_ptr<Tarsel::TimerBase>> timers(COUNT);
  const auto create = [&](int id) {
    if (id < COUNT / 2) {
      timers[id] = std::make_unique<OneShotTimer>("once");
    } else {
      timers[id] = std::make_unique<PeriodicTimer>("often");
    }
    OnExpiry(*timers[id],
             [&, id] { fired.push_back(std::to_string(id) + "@" + std::to_string(loop.Now())); });
  };
  for (int id = 0; id < COUNT; ++id) {
    create(id);
  }

  std::size_t total = 0;
  for (unsigned int step = 0; step < steps; ++step) {
    const int id = static_cast<int>(below(COUNT));
    const unsigned int time = below(8);
    switch (below(8)) {
      case 0:
      case 1:
      case 2:
        if (id < COUNT / 2) {
          static_cast<OneShotTimer&>(*timers[id]).Start(time);
          model.Start(id, time * 1000, 0);
        } else {
          const unsigned int ticks = time + 1;
          static_cast<PeriodicTimer&>(*timers[id]).Start(ticks);
          model.Start(id, ticks * model.tick, ticks);
        }
        break;
      case 3:
        timers[id]->Stop();
        model.Stop(id);
        break;
      case 4:
        create(id);
        model.Stop(id);
        break;
      case 5:
        if (below(20) == 0) {
          const unsigned int tick = 200 + 400 * below(5);
          TimerLoop::SetTickMicroseconds(tick);
          model.Tick(tick);
        }
        break;
      default:
        loop.AdvanceMicroseconds(time * 500);
        model.Advance(time * 500, expected);
    }
    ASSERT_EQ(fired, expected) << "step " << step;
    ASSERT_EQ(loop.Now(), model.now);
    for (int i = 0; i < COUNT; ++i) {
      ASSERT_EQ(timers[i]->IsRunning(), model.IsRunning(i)) << "step " << step << " timer " << i;
    }
    total += fired.size();
    fired.clear();
    expected.clear();
  }
  test_models::ExpectAtLeast(total, steps / 10, "expiries");
}
