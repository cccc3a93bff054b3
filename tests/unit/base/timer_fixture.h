// A loop in virtual time, and what its timers did.
#ifndef TESTS_UNIT_BASE_TIMER_FIXTURE_H
#define TESTS_UNIT_BASE_TIMER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "timer_recorder.h"

class Timers : public testing::Test {
 protected:
  Timers() { Tarsel::TimerLoop::SetCurrent(&loop); }

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
  Tarsel::VirtualLoop loop;
  std::vector<std::string> fired;
};

#endif
