// Waits until every request has been answered.
#ifndef DEVICE_LOOP_SETTLED_WAIT_H
#define DEVICE_LOOP_SETTLED_WAIT_H

#include <cstdint>
#include <functional>

#include "loop_handles.h"

namespace loop {

/// The questions that decide whether things have settled.
struct Activity {
  /// Returns a number that grows with each request to the stack.
  std::function<std::uint64_t()> countRequests;
  /// Whether work is under way, for example in the stack: requests may follow from it.
  std::function<bool()> isUnderWay;
  /// How long no request may have come before things count as settled, in milliseconds.
  std::function<std::uint64_t()> getQuietMilliseconds;
};

/// Nothing announces that all requests have been sent and answered: the library keeps them and
/// sends some at a time. Things have settled when nothing is under way and no request has come
/// during a quiet time. An object serves one wait at a time, that of its owner.
class SettledWait {
 public:
  SettledWait(uv_loop_s* loop, Activity activity);

  /// Calls `done` from the loop: with true once things have settled, or with false after
  /// `limitMilliseconds` (0 for no limit). A wait that is under way is replaced; its `done` is
  /// never called.
  void Wait(std::uint64_t limitMilliseconds, std::function<void(bool settled)> done);

  /// Ends a wait early, as its limit would: `done` is called from the loop. Returns false if no
  /// wait is under way.
  bool GiveUp();

  /// Ends a wait, if one is under way: its `done` is never called.
  void Stop();

 private:
  void Look();

  Timer m_timer;
  const Activity m_activity;
  std::function<void(bool)> m_done;
  std::uint64_t m_begin = 0;
  std::uint64_t m_limit = 0;
  std::uint64_t m_lastLook = 0;
  std::uint64_t m_quiet = 0;
  std::uint64_t m_requests = 0;
};

}  // namespace loop

#endif
