// All that is known of the rows that a device has in its routing stack.
#ifndef DEVICE_APPLY_KNOWLEDGE_H
#define DEVICE_APPLY_KNOWLEDGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "address_keeper.h"
#include "comparer.h"
#include "device/loop/loop_handles.h"
#include "differences.h"
#include "instance_keeper.h"
#include "interface_keeper.h"
#include "interfaces.h"
#include "protocol_row_keeper.h"
#include "protocol_rows_port.h"
#include "route_keeper.h"
#include "rule_keeper.h"
#include "stack_port.h"
#include "tarsel/timer.h"

namespace apply {

/// The keepers of all kinds of rows, what they differ in from the stack, and when they are
/// compared.
class Knowledge {
 public:
  /// `report` takes a line without its end, for the log. `keepOldMilliseconds` is how long a route
  /// stays at most until its successor can take its place. Everything else is borrowed.
  Knowledge(uv_loop_s* loop, Interfaces& interfaces, const StackPort& port,
            ProtocolRowsPort& protocolRows, const std::function<void(const std::string&)>& report,
            std::uint64_t keepOldMilliseconds);

  RouteKeeper& GetRoutes() { return m_routes; }
  RuleKeeper& GetRules() { return m_rules; }
  const RouteKeeper& GetRoutes() const { return m_routes; }
  const RuleKeeper& GetRules() const { return m_rules; }
  const Differences& GetDifferences() const { return m_differences; }

  /// The stack has answered a request for the row; not for routes and rules. May be called from
  /// inside its run.
  void Heard(const Row& row, unsigned int status);

  /// From now on everything is compared at a slow pace, all the time (Comparer). Timers are started
  /// with this, so their loop has to be current.
  void StartSlowPass() { m_comparer.StartSlowPass(); }
  /// Something has changed: everything is compared as soon as it has been answered, or when nothing
  /// has been answered for a second.
  void CompareWhenSettled();
  /// The VLANs that wait for their end from now on.
  void SetLeavingVlans(documents::VlanIds vlans) {
    m_protocolRowKeeper.SetLeavingVlans(std::move(vlans));
  }
  /// The stack has lost everything: nothing has been asked for, and nothing differs.
  void Forget();

  /// Whether every request has been answered and what was changed has been compared.
  bool IsSettled() const;
  /// How many requests are still to be made or without an answer, those of known differences left
  /// out, and the routes of a VLAN an instance of which is one that is missing.
  std::size_t CountOpen() const;
  /// A number that grows with each request for a route or a rule and with each answer. Repeats of
  /// requests that came to nothing are no progress.
  std::uint64_t GetProgress() const;

  /// See Comparer.
  void Verify(std::size_t mostLines, std::function<void(std::vector<Verdict>)> done) {
    m_comparer.Verify(mostLines, std::move(done));
  }

 private:
  Keeper& KeeperOf(const Row& row);
  bool AreAnswered() const;
  std::size_t CountWaiting() const;
  void LookWhetherSettled(unsigned int, void*);
  void Post();
  void Turn();
  void ForgetRemade();
  void LookAtTouched();

  const StackPort& m_port;
  ProtocolRowsPort& m_protocolRows;
  Differences m_differences;
  InstanceKeeper m_instances;
  InterfaceKeeper m_interfaces;
  AddressKeeper m_addresses;
  ProtocolRowKeeper m_protocolRowKeeper;
  RouteKeeper m_routes;
  RuleKeeper m_rules;
  Comparer m_comparer;
  Tarsel::OneShotTimer m_timer;
  loop::Task m_turn;
  std::set<unsigned short> m_remade;  // VLANs with an instance that was missing and is there again
  std::set<documents::InterfaceKey>
      m_touched;  // interfaces about which something has been answered
  bool m_isComparisonDue = false;
  bool m_hasComparedEarly = false;  // since CompareWhenSettled
  std::uint64_t m_progress = 0;     // at the last look
  std::uint64_t m_progressAt = 0;   // when it had grown last
};

}  // namespace apply

#endif
