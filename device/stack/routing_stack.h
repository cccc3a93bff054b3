// The software routing stack: an ordinary object behind the stack's C functions.
#ifndef DEVICE_STACK_ROUTING_STACK_H
#define DEVICE_STACK_ROUTING_STACK_H

#include <cstdint>
#include <functional>
#include <memory>

#include "stack/sms.h"

namespace routing_stack {

class Engine;
class Control;

/// Milliseconds on a clock that never goes back; ages and late answers are measured with it.
using Clock = std::function<std::uint64_t()>;

/// One stack with its tables, event queue and walks. The exported C functions forward to the one
/// that is current; with none, they do nothing. Everything happens on the caller's thread; answers,
/// completions and walk rows come from nbb_scheduler() only (unless the control says otherwise).
class SMS_API RoutingStack {
 public:
  explicit RoutingStack(Clock clock);
  RoutingStack(const RoutingStack&) = delete;
  RoutingStack& operator=(const RoutingStack&) = delete;
  ~RoutingStack();

  /// Makes this the stack behind the C functions. The last one made current is; destroying it leaves
  /// none.
  void MakeCurrent();

  /// Faults, limits, holds, restart, counters and table contents, for tests and lab commands. It lives as
  /// long as the stack.
  Control& GetControl();

  /// True when no event is queued and none is due later: everything requested has been answered.
  bool IsIdle() const;

 private:
  std::unique_ptr<Engine> m_engine;
};

}  // namespace routing_stack

#endif
