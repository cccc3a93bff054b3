// Waiting until everything that was asked for has been answered.
#ifndef DEVICE_HOST_SETTLE_H
#define DEVICE_HOST_SETTLE_H

#include <cstdint>
#include <functional>

#include "loop_handles.h"

namespace routing_stack {
class RoutingStack;
}

namespace host {

/// Nobody announces that all requests are through: the library keeps them to itself and sends some at
/// a time. They are when the stack has nothing to do and has not been asked for a row during three
/// periods of the library's scheduler.
class Settle {
 public:
  /// `stack` is borrowed. `isBusy` names further work to wait for; it may be empty.
  Settle(uv_loop_s* loop, routing_stack::RoutingStack& stack, std::function<bool()> isBusy = {});

  /// Calls `done` once things have settled, or with false after `limitMilliseconds` (0 for no limit).
  void Wait(std::uint64_t limitMilliseconds, std::function<void(bool settled)> done);

  /// Ends a wait early, as its limit would, from the loop. False when nobody waits.
  bool GiveUp();

 private:
  void Look();
  std::uint64_t CountRequests() const;

  LoopTimer m_timer;
  routing_stack::RoutingStack& m_stack;
  std::function<bool()> m_isBusy;
  std::function<void(bool)> m_done;
  std::uint64_t m_begin = 0;
  std::uint64_t m_limit = 0;
  std::uint64_t m_lastLook = 0;
  std::uint64_t m_quiet = 0;
  std::uint64_t m_requests = 0;
};

}  // namespace host

#endif
