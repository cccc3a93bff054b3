// The stack's time for walks.
#ifndef DEVICE_DAEMON_WALK_RUNNER_H
#define DEVICE_DAEMON_WALK_RUNNER_H

#include <cstdint>
#include <functional>

#include "device/console/walks.h"
#include "device/loop/loop_handles.h"

namespace routing_stack {
class RoutingStack;
}

namespace vantacored {

/// The library's scheduler runs the stack every ten milliseconds at most, for four milliseconds at
/// most, so a table would take more than twice the time that it needs. While a walk has rows for a
/// reader who takes them, the stack runs in each turn of the loop as well; descriptors and timers
/// are served in between. A turn that has taken its time already is left alone. Without such a walk
/// nothing is done, and hardly anything while the stack stands still.
class WalkRunner : public console::Walks {
 public:
  /// `stack` is borrowed. `run` is the scheduler's single run of the stack.
  WalkRunner(uv_loop_s* loop, routing_stack::RoutingStack& stack, std::function<void()> run);

  unsigned int Last() const override;
  std::vector<Walk> Running() const override;
  void Hold(unsigned int number) override;
  void GoOn(unsigned int number) override;
  void End(unsigned int number) override;
  void Attend() override;

 private:
  bool HasRows() const;
  void Look();
  void Turn();

  uv_loop_s* m_loop;
  routing_stack::RoutingStack& m_stack;
  const std::function<void()> m_run;
  loop::Task m_turn;
  loop::Timer m_rest;
  std::uint64_t m_restMilliseconds = 0;  // of the next rest
};

}  // namespace vantacored

#endif
