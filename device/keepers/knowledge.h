// All that is known of the rows that a device has in its routing stack.
#ifndef DEVICE_KEEPERS_KNOWLEDGE_H
#define DEVICE_KEEPERS_KNOWLEDGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "address_keeper.h"
#include "device/loop/loop_handles.h"
#include "device/routes/route_keeper.h"
#include "device/routes/rule_keeper.h"
#include "device/rows/comparer.h"
#include "device/rows/differences.h"
#include "device/rows/protocol_rows_port.h"
#include "device/rows/stack_port.h"
#include "instance_keeper.h"
#include "interface_keeper.h"
#include "interfaces.h"
#include "protocol_row_keeper.h"
#include "tarsel/timer.h"

namespace keepers {

/// The keepers of all kinds of rows, what they differ in from the stack, and when they are
/// compared.
class Knowledge {
 public:
  /// `report` takes a line without its end, for the log. `keepOldMilliseconds` is how long a route
  /// stays at most until its successor can take its place. Everything else is borrowed.
  Knowledge(uv_loop_s* loop, Interfaces& interfaces, const rows::StackPort& port,
            rows::ProtocolRowsPort& protocolRows,
            const std::function<void(const std::string&)>& report,
            std::uint64_t keepOldMilliseconds);

  routes::RouteKeeper& GetRoutes() { return m_routes; }
  routes::RuleKeeper& GetRules() { return m_rules; }
  const routes::RouteKeeper& GetRoutes() const { return m_routes; }
  const routes::RuleKeeper& GetRules() const { return m_rules; }
  const rows::Differences& GetDifferences() const { return m_differences; }
  const rows::ProtocolRowsPort& GetProtocolRows() const { return m_protocolRows; }

  /// The stack has answered a request for the row; not for routes and rules. May be called from
  /// inside its run.
  void Heard(const rows::Row& row, unsigned int status);

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

  /// Whether something that has changed or has been heard of is still to be looked at, and compared
  /// with what the stack has.
  bool IsComparing() const {
    return m_isComparisonDue || m_comparer.IsComparing() || m_differences.HasHeard() ||
           !m_touched.empty() || m_routes.MayEndKept();
  }
  /// As CountOpen, but of routes and rules only, those that may wait for ever included. Kept, not
  /// counted.
  std::size_t CountOpenRoutesAndRules() const { return m_routes.CountOpen() + m_rules.CountOpen(); }

  /// One kind of rows.
  struct Kind {
    const char* name = "";  // "protocol rows"
    std::size_t wanted = 0;
    rows::Differences::Counts differing;
  };
  /// In the order of the kinds in rows::Row. Kept, not counted.
  using Kinds = std::array<Kind, std::variant_size_v<rows::Row>>;
  Kinds GetKinds() const;

  /// See Differences.
  rows::Differences::Retry RetryAll() { return m_differences.RetryAll(); }
  rows::Differences::Retry RetryRoutes(const documents::RouteTarget& prefix) {
    return m_differences.RetryRoutes(prefix);
  }
  /// See Comparer.
  void Verify(std::size_t mostLines, std::function<void(std::vector<rows::Verdict>)> done) {
    m_comparer.Verify(mostLines, std::move(done));
  }

 private:
  rows::Keeper& KeeperOf(const rows::Row& row);
  bool AreAnswered() const;
  std::size_t CountWaiting() const;
  void LookWhetherSettled(unsigned int, void*);
  void Post();
  void Turn();
  void ForgetRemade();
  void LookAtTouched();

  const rows::StackPort& m_port;
  rows::ProtocolRowsPort& m_protocolRows;
  rows::Differences m_differences;
  InstanceKeeper m_instances;
  InterfaceKeeper m_interfaces;
  AddressKeeper m_addresses;
  ProtocolRowKeeper m_protocolRowKeeper;
  routes::RouteKeeper m_routes;
  routes::RuleKeeper m_rules;
  rows::Comparer m_comparer;
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

}  // namespace keepers

#endif
