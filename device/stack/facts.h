// What the software routing stack has: its tables as rows, and how many requests it has received.
//
// For hosts, the daemon included. A host looks here to show or to compare what the stack made of
// its requests, and, by CountRequests(), to find out whether requests still arrive. Nothing here
// changes the stack: the controls of stack_control.h are for tests and lab commands, and are not
// reachable from here.
//
// Owner and lifetime: the facts belong to their RoutingStack (GetFacts()) and live as long as it.
// They describe that stack, even if another one is current.
//
// Each query copies the whole table as it is at that moment, so its cost grows with the table; the
// rows that it returns are the caller's. Queries may be made at any time on the stack's thread,
// from inside a callback or a walk as well. They never call back and never fail.
//
// A table shows the requests that the stack has processed. While RoutingStack::IsIdle() is false,
// requests and their consequences may be missing from it. A restart of the stack empties the
// tables.
//
// The fields of the rows are explained in stack/rows.h. An instance is a vid, with bit 0x8000 set
// for IPv6. An age is in whole seconds by the stack's clock: for a candidate since it was first put
// into the table, for a route since it was installed.
#ifndef DEVICE_STACK_FACTS_H
#define DEVICE_STACK_FACTS_H

#include <cstdint>
#include <vector>

#include "stack/sms.h"

namespace routing_stack {

class Engine;

/// A redistribution rule. Protocols are the stack's codes: the route-protocol code shifted left by
/// 16 bits.
struct RedistributionRow {
  std::uint32_t vlan;  // the instance: with 0x8000 for IPv6
  std::uint32_t source, destination;
};

class SMS_API Facts {
 public:
  /// Made by the stack; `engine` is borrowed and outlives the facts.
  explicit Facts(const Engine& engine) : m_engine(engine) {}
  Facts(const Facts&) = delete;
  Facts& operator=(const Facts&) = delete;

  // The tables, each in the order of its keys. An interface, an address or a rule is listed whether
  // it takes effect or not.

  /// By instance and index.
  std::vector<amb_stubs_i3_ei> Interfaces() const;
  /// By interface, family and address.
  std::vector<amb_stubs_i3_ea> Addresses() const;
  /// All candidates, whether they are usable or not, by instance, prefix, protocol and next hop.
  /// Those in the forwarding table have fib_flag 1.
  std::vector<amb_cipr_rtm_rib> Rib() const;
  /// The forwarding table, by instance and prefix: at most one route for each prefix.
  std::vector<amb_cipr_rtm_route> Routes() const;
  /// By instance, source and destination. A rule whose admin status is down is listed too.
  std::vector<RedistributionRow> Redistributions() const;
  /// The installed routes that the rules of an instance hand to a protocol. None when no rule that
  /// is up names the destination, or when the instance does not exist.
  std::vector<amb_cipr_rtm_route> Redistributed(std::uint32_t instance,
                                                std::uint32_t destination) const;
  /// The ids of the instances that exist, in ascending order.
  std::vector<std::uint32_t> Instances() const;

  /// The requests for rows that the stack has received since it was made, whether they succeeded or
  /// not: to set or to destroy an instance, a route, an interface, an address, a redistribution
  /// rule or a protocol row. Walks, identifier builders, tracing and scheduling do not count. The
  /// count never goes back, not even over a restart of the stack: if two counts are equal, no row
  /// was requested in between.
  std::uint64_t CountRequests() const;

 private:
  const Engine& m_engine;
};

}  // namespace routing_stack

#endif
