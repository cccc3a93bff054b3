// The queue of each timer loop, private to this folder.
//
// A running timer has one entry in the queue of its loop, and each of the two points at the other,
// so neither is searched for. Entries are ordered by deadline. Equal deadlines are ordered by the
// number of the start, which a periodic timer keeps for all its periods. Before a callback runs,
// the entry is already changed for the time after it: a one-shot timer's is removed, a periodic
// timer's is moved one period later. The timer is not touched after the callback, which may have
// started it again, stopped it or destroyed it.
#ifndef DEVICE_BASE_TIMER_QUEUE_H
#define DEVICE_BASE_TIMER_QUEUE_H

#include <cstdint>
#include <map>
#include <utility>

#include "device/base/timer_loop.h"
#include "tarsel/timer.h"

namespace Tarsel {

/// The deadline if no timer runs: later than every deadline.
constexpr std::uint64_t NO_DEADLINE = UINT64_MAX;

struct TimerLoop::Queue {
  using Key = std::pair<std::uint64_t, std::uint64_t>;  // deadline in microseconds, start number

  struct Entry {
    TimerBase* timer;
    TimerLoop* loop;
    Key key;
    unsigned int ticks;  // 0: fires once
  };

  explicit Queue(TimerLoop* owner) : loop(owner), starts(0) {}
  /// Stops the timers that still wait here.
  ~Queue();

  Entry* Add(TimerBase* timer, std::uint64_t deadline, unsigned int ticks);
  void Remove(Entry* entry);

  /// Returns the earliest deadline, NO_DEADLINE if nothing waits.
  std::uint64_t Earliest() const;
  /// Fires the first timer. There must be one.
  void FireFirst();
  /// Keeps only the latest of the periods that a periodic timer owes at `now`.
  void DropMissedPeriods(std::uint64_t now);
  /// Gives the periods under way their new length.
  void ChangeTick(std::uint64_t oldTick, std::uint64_t newTick, std::uint64_t now);

  TimerLoop* loop;
  std::map<Key, Entry> entries;
  std::uint64_t starts;

 private:
  void Move(const Key& from, std::uint64_t deadline);
};

/// Gives timers and loops access to each other's members, which are private otherwise.
class TimerAccess {
 public:
  using Entry = TimerLoop::Queue::Entry;

  static Entry* GetEntry(const TimerBase& timer) { return static_cast<Entry*>(timer.m_handle); }
  static void SetEntry(TimerBase& timer, Entry* entry) { timer.m_handle = entry; }

  static void Start(TimerBase& timer, std::uint64_t delay, unsigned int ticks);
  static void Stop(TimerBase& timer);
  /// Runs the callback; the timer may be gone afterwards.
  static void Dispatch(TimerBase& timer);
};

/// `a + b`, at most NO_DEADLINE - 1: the latest moment that can be a deadline.
std::uint64_t AddTime(std::uint64_t a, std::uint64_t b);

}  // namespace Tarsel

#endif
