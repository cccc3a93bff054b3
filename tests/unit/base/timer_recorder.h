// Callbacks for the timer tests.
#ifndef TESTS_UNIT_BASE_TIMER_RECORDER_H
#define TESTS_UNIT_BASE_TIMER_RECORDER_H

#include <functional>
#include <utility>

#include "device/base/timer_loop.h"
#include "tarsel/timer.h"

/// Runs a function at each expiry and counts how many of its kind are alive.
class FunctionCallback : public Tarsel::TimerBase::Callback {
 public:
  explicit FunctionCallback(std::function<void()> function) : m_function(std::move(function)) {
    ++alive;
  }
  ~FunctionCallback() override { --alive; }

  void Dispatch(unsigned int first, void* second) override {
    lastFirst = first;
    lastSecond = second;
    m_function();
  }

  static int alive;
  static unsigned int lastFirst;
  static void* lastSecond;

 private:
  std::function<void()> m_function;
};

inline int FunctionCallback::alive = 0;
inline unsigned int FunctionCallback::lastFirst = 0;
inline void* FunctionCallback::lastSecond = nullptr;

inline void OnExpiry(Tarsel::TimerBase& timer, std::function<void()> function) {
  timer.SetCallback(new FunctionCallback(std::move(function)));
}

/// Brings the process-wide settings back at its end.
class TimerSettings {
 public:
  TimerSettings() : m_loop(Tarsel::TimerLoop::GetCurrent()) {}
  ~TimerSettings() {
    Tarsel::TimerLoop::SetCurrent(m_loop);
    Tarsel::TimerLoop::SetTickMicroseconds(1000);
  }

 private:
  Tarsel::TimerLoop* m_loop;
};

#endif
