// The loop that drives the platform's timers: real time for the host, virtual time for tests.
#ifndef DEVICE_BASE_TIMER_LOOP_H
#define DEVICE_BASE_TIMER_LOOP_H

#include <cstdint>
#include <functional>
#include <memory>

#include "tarsel/export.h"

struct uv_loop_s;

namespace Tarsel {

/// Where timers wait. One loop is current at a time; a timer joins the loop that is current when it
/// is started, and a loop that goes stops the timers that wait on it. Expiries come in the order of
/// their deadlines, equal deadlines in the order of the starts. A periodic timer that is late fires
/// once for each period missed, but not more often than its loop bounds per turn.
class TARSEL_API TimerLoop {
 public:
  TimerLoop();
  TimerLoop(const TimerLoop&) = delete;
  TimerLoop& operator=(const TimerLoop&) = delete;
  virtual ~TimerLoop();

  /// Microseconds since some fixed moment; never goes back.
  virtual std::uint64_t Now() const = 0;

  static TimerLoop* GetCurrent();
  /// The loop is borrowed; null for none. A timer started without a loop stays idle.
  static void SetCurrent(TimerLoop* loop);

  /// The length of a periodic timer's tick in microseconds, 1,000 by default, at least 1. It holds
  /// for timers started afterwards and for those that are running: on the current loop the period
  /// under way is shortened or stretched, on another loop the next one is.
  static unsigned int GetTickMicroseconds();
  static void SetTickMicroseconds(unsigned int microseconds);

 protected:
  friend class TimerAccess;
  struct Queue;

  /// Called whenever the earliest deadline may have changed.
  virtual void DeadlineChanged() = 0;

  std::unique_ptr<Queue> m_queue;
};

/// Time that moves only when told to.
class TARSEL_API VirtualLoop : public TimerLoop {
 public:
  VirtualLoop();
  ~VirtualLoop() override;

  std::uint64_t Now() const override { return m_now; }

  /// Moves time forward, firing every timer that falls due on the way at its own moment. A one-shot
  /// timer that starts itself again with no delay never lets time go by.
  void AdvanceMilliseconds(std::uint64_t milliseconds);
  void AdvanceMicroseconds(std::uint64_t microseconds);
  /// Moves to the next deadline and fires that one timer; false when no timer runs.
  bool RunNext();
  /// Runs until `done` answers true or `limitMilliseconds` have gone by; returns the last answer.
  bool RunUntil(const std::function<bool()>& done, std::uint64_t limitMilliseconds);
  /// Microseconds until the next deadline, UINT64_MAX when no timer runs: how long a loop may sleep
  /// that moves this one along by the time that has gone by.
  std::uint64_t MicrosecondsToNext() const;

 private:
  void DeadlineChanged() override {}

  std::uint64_t m_now;
};

/// Real time on a libuv loop, which is borrowed and must outlive this object. Destroy it before the
/// libuv loop is closed, outside of timer callbacks, and let that loop run once more so that the
/// handle can close. Timers that are due fire in one turn of the loop for as long as five
/// milliseconds of work; the rest waits for the next turn, and of the periods that a periodic timer
/// still owes then only the latest is kept, so that a stall is not repaid for ever after.
class TARSEL_API UvLoop : public TimerLoop {
 public:
  explicit UvLoop(uv_loop_s* loop);
  ~UvLoop() override;

  std::uint64_t Now() const override;

 private:
  struct Handle;

  void DeadlineChanged() override;
  void RunDueTimers();

  Handle* m_handle;  // closed asynchronously by the libuv loop
};

}  // namespace Tarsel

#endif
