// Waiting until everything that was asked for has been answered.
#ifndef DEVICE_LOOP_SETTLED_WAIT_H
#define DEVICE_LOOP_SETTLED_WAIT_H

#include <cstdint>
#include <functional>

#include "loop_handles.h"

namespace loop {

/// What tells whether something is going on.
struct Activity {
  /// A number that grows whenever something is asked of the stack.
  std::function<std::uint64_t()> countRequests;
  /// Whether something is under way by itself.
  std::function<bool()> isUnderWay;
  /// For how long nothing may have been asked for before things count as settled, in milliseconds.
  std::function<std::uint64_t()> getQuietMilliseconds;
};

/// Nobody announces that all requests are through: the library keeps them to itself and sends some at
/// a time. Things have settled when nothing is under way and nothing has been asked for during a quiet
/// time. One wait at a time; the owner of the object is the one who waits.
class SettledWait {
 public:
  SettledWait(uv_loop_s* loop, Activity activity);

  /// Calls `done` from the loop: with true once things have settled, or with false after
  /// `limitMilliseconds` (0 for no limit). A wait that is under way is replaced and never hears.
  void Wait(std::uint64_t limitMilliseconds, std::function<void(bool settled)> done);

  /// Ends a wait early, as its limit would, from the loop. False when nobody waits.
  bool GiveUp();

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
