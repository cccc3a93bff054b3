// What a wait for settled things watches, for a stack in a test.
#ifndef TESTS_SUPPORT_STACK_ACTIVITY_H
#define TESTS_SUPPORT_STACK_ACTIVITY_H

#include <functional>
#include <utility>

#include "device/base/timer_loop.h"
#include "device/loop/settled_wait.h"
#include "device/stack/facts.h"
#include "device/stack/routing_stack.h"
#include "vantacore/cfg_sched.h"

namespace test_support {

/// Three periods of the library's scheduler without a request, with the stack idle and `isBusy`
/// false.
inline loop::Activity ActivityOf(const routing_stack::RoutingStack& stack,
                                 std::function<bool()> isBusy = {}) {
  return {[&stack] { return stack.GetFacts().CountRequests(); },
          [&stack, isBusy = std::move(isBusy)] { return !stack.IsIdle() || (isBusy && isBusy()); },
          [] {
            return 3 * Tarsel::CfgSched::TICKS_BETWEEN_PASSES *
                   Tarsel::TimerLoop::GetTickMicroseconds() / 1000;
          }};
}

}  // namespace test_support

#endif
