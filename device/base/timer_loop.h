// The loop that drives the platform's timers: real time for the host, virtual time for tests.
#ifndef DEVICE_BASE_TIMER_LOOP_H
#define DEVICE_BASE_TIMER_LOOP_H

#include <cstdint>
#include <functional>
#include <memory>

#include "tarsel/export.h"

struct uv_loop_s;

namespace Tarsel {

/// Where timers wait. At most one loop is current. A timer joins the loop that is current when it
/// is started; a loop that is destroyed stops the timers that wait on it. Timers fire in the order
/// of their deadlines, and timers with equal deadlines in the order of their starts. A periodic
/// timer that is late fires once for each period that it missed, as far as its loop allows in one
/// turn (see UvLoop).
class TARSEL_API TimerLoop {
 public:
  /// Not current until SetCurrent.
  TimerLoop();
  TimerLoop(const TimerLoop&) = delete;
  TimerLoop& operator=(const TimerLoop&) = delete;
  virtual ~TimerLoop();

  /// Microseconds since some fixed moment; never goes back.
  virtual std::uint64_t Now() const = 0;

  /// The loop that timers join when they are started, or null.
  static TimerLoop* GetCurrent();
  /// The loop is borrowed; null for none. A timer that is started without a loop stays idle.
  static void SetCurrent(TimerLoop* loop);

  /// The length of a periodic timer's tick in microseconds: 1,000 by default, at least 1. A new
  /// length applies to timers that are started later and to running ones: on the current loop to
  /// the period under way, on another loop from the next period on.
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
  /// Now() is 0 at first.
  VirtualLoop();
  ~VirtualLoop() override;

  std::uint64_t Now() const override { return m_now; }

  /// Moves time forward and fires each timer that becomes due, with Now() at that timer's deadline.
  /// It does not return while a one-shot timer starts itself again with no delay.
  void AdvanceMilliseconds(std::uint64_t milliseconds);
  /// The same in microseconds.
  void AdvanceMicroseconds(std::uint64_t microseconds);
  /// Moves to the next deadline and fires that one timer. Returns false if no timer runs.
  bool RunNext();
  /// Runs until `done` returns true or `limitMilliseconds` have passed. Returns the last result of
  /// `done`.
  bool RunUntil(const std::function<bool()>& done, std::uint64_t limitMilliseconds);
  /// Microseconds until the next deadline, UINT64_MAX if no timer runs. A loop that drives this one
  /// may sleep that long.
  std::uint64_t MicrosecondsToNext() const;

 private:
  void DeadlineChanged() override {}

  std::uint64_t m_now;
};

/// Real time on a libuv loop, which is borrowed and must outlive this object. Do not destroy this
/// object from a timer callback. After destroying it, let the libuv loop run once more, so that the
/// handle can close, before you close that loop. In one turn of the loop, due timers fire until
/// five milliseconds have passed; the rest waits for the next turn. A periodic timer that has
/// missed several periods by then fires for the latest only, so that a stall is not made up for
/// endlessly.
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
