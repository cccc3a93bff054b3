// The software routing stack: an ordinary object that implements the stack's C functions.
#ifndef DEVICE_STACK_ROUTING_STACK_H
#define DEVICE_STACK_ROUTING_STACK_H

#include <cstdint>
#include <functional>
#include <memory>

#include "stack/sms.h"

namespace routing_stack {

class Engine;
class Control;
class Facts;
class Listener;
class Upkeep;

/// Milliseconds on a clock that never goes back; ages and late answers are measured with it.
using Clock = std::function<std::uint64_t()>;

/// One stack with its tables, its event queue and its walks. The exported C functions forward to
/// the stack that is current; if none is, they do nothing. Everything happens on the caller's
/// thread. Answers, completions and walk rows come from nbb_scheduler() only, unless
/// Control::SetSynchronous is on.
class SMS_API RoutingStack {
 public:
  /// Not current until MakeCurrent() is called. `clock` is copied and must work as long as the
  /// stack lives.
  explicit RoutingStack(Clock clock);
  RoutingStack(const RoutingStack&) = delete;
  RoutingStack& operator=(const RoutingStack&) = delete;
  ~RoutingStack();

  /// Makes this the stack that the C functions forward to. If the current stack is destroyed, none
  /// is current.
  void MakeCurrent();

  /// What the stack has and does: tables, requests, walks, restarts; read-only (facts.h). It lives
  /// as long as the stack.
  const Facts& GetFacts() const;

  /// From now on `listener` hears what this stack does (facts.h), and the one before does not; null
  /// ends it. It is borrowed and must live until then, or as long as the stack. Not to be called
  /// from inside a listener.
  void SetListener(Listener* listener);

  /// The few things that a host may do beside its requests (upkeep.h). It lives as long as the
  /// stack.
  Upkeep& GetUpkeep();

  /// Faults, limits, holds, restart and counters, for tests, examples and lab commands alone
  /// (stack_control.h). It lives as long as the stack.
  Control& GetControl();

  /// Whether no event is queued and none is due later: every request has been answered, apart from
  /// those that a script leaves unanswered for good, and every walk has ended, apart from those
  /// that the host holds.
  bool IsIdle() const;

 private:
  std::unique_ptr<Engine> m_engine;
};

}  // namespace routing_stack

#endif
