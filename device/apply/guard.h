// Keeps a configuration from taking away what carries traffic.
#ifndef DEVICE_APPLY_GUARD_H
#define DEVICE_APPLY_GUARD_H

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/loop/loop_handles.h"
#include "device/plan/plan.h"
#include "device/rows/stack_port.h"

namespace apply {

/// Counts, for each VLAN to which a plan does harm, the prefixes with an installed static route and
/// those of them that are left without any wanted route. It refuses a plan that
///
/// - leaves more than a share of such prefixes of a VLAN without one, and at least FEWEST,
/// - removes a VLAN that has such a prefix,
/// - removes all rows of a protocol that has more than one.
///
/// A route that is replaced is not removed. With a port that does not know the stack's tables,
/// every wanted route counts as installed.
class Guard {
 public:
  static constexpr std::size_t FEWEST = 10;
  /// The share that switches the guard off, in percent.
  static constexpr unsigned int OFF = 100;
  /// How many of the stack's routes are looked at in one turn of the loop.
  static constexpr std::size_t ROUTES_A_TURN = 1000;

  struct Verdict {
    /// Why the plan is refused, a line for each VLAN and reason; empty if it is not.
    std::vector<std::string> reasons;
    /// The prefixes that are left without an installed route, of all VLANs.
    std::size_t lost = 0;
  };

  /// `port` is borrowed. `percent` is the share, 0 to OFF.
  /// `isSettled` tells whether the stack has what it was asked for in a VLAN; until then every
  /// wanted route counts as installed there, too.
  Guard(uv_loop_s* loop, const rows::StackPort& port, unsigned int percent,
        std::function<bool(unsigned short vlan)> isSettled)
      : m_port(port), m_percent(percent), m_isSettled(std::move(isSettled)), m_turn(loop) {}

  /// Judges a plan in turns of the loop, and calls `done` from the last of them. What was being
  /// judged before is forgotten.
  void Judge(std::shared_ptr<const plan::Plan> plan, std::function<void(const Verdict&)> done);
  /// The stack has lost everything: what is being judged is counted anew.
  void BeginAgain();

 private:
  void Turn();
  bool CountSome(const plan::VlanLoss& loss);
  void Weigh(const plan::VlanLoss& loss, std::size_t installed, std::size_t lost);

  const rows::StackPort& m_port;
  const unsigned int m_percent;
  const std::function<bool(unsigned short vlan)> m_isSettled;
  loop::Task m_turn;
  std::shared_ptr<const plan::Plan> m_plan;
  std::function<void(const Verdict&)> m_done;
  Verdict m_verdict;
  std::size_t m_at = 0;  // of the plan's losses
  // Of the VLAN that is being counted.
  std::optional<rows::StackRoute> m_last;
  std::size_t m_inPlan = 0;  // of its lost prefixes: the first that may still come
  std::size_t m_installed = 0;
  std::size_t m_lost = 0;
};

/// "1 prefix", "2 prefixes".
std::string DescribePrefixes(std::size_t count);

}  // namespace apply

#endif
