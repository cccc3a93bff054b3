// What the software routing stack has, and what it does: its tables as rows, the requests that it
// has received, answered and not finished, its walks, its restarts and its forwarding table.
//
// For hosts, the daemon included. A host looks here to show or to compare what the stack made of
// its requests. The library tells a host no answer; who wants to know them sets a Listener. Nothing
// here changes the stack: the few things that a host may do are in upkeep.h. The controls of
// stack_control.h are for tests and lab commands, and are not reachable from here.
//
// Owner and lifetime: the facts belong to their RoutingStack (GetFacts()) and live as long as it.
// They describe that stack, even if another one is current.
//
// Queries may be made at any time on the stack's thread, from inside a callback or a walk as well,
// but not from inside a Listener. They never call back and never fail. The rows that they return
// are copies and the caller's. A query for a whole table costs what the table has; one for a slice
// costs what the slice has.
//
// A table shows the requests that the stack has processed. While RoutingStack::IsIdle() is false,
// requests and their consequences may be missing from it. A restart of the stack empties the
// tables.
//
// The fields of the rows that are not declared here are explained in stack/rows.h. An instance is a
// vid, with bit 0x8000 set for IPv6. Addresses are in network order, an IPv4 one in the first four
// bytes. An age is in whole seconds by the stack's clock: for a candidate since it was first put
// into the table, for a route since it was installed.
//
// Of a prefix at most one candidate is installed, and its route is that one's. In a VLAN for which
// the host has said so (Upkeep::SetMostNextHops) others that are its equals stand beside it: usable
// ones with the same distance, metric and protocol, in the order in which they would follow it. No
// two of them have the same next hop and interface, and each has a next hop: what is directly
// attached is behind one interface only. The route leads to all of them.
#ifndef DEVICE_STACK_FACTS_H
#define DEVICE_STACK_FACTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "stack/sms.h"

namespace routing_stack {

class Engine;

/// The kinds of rows that are requested.
enum class RowType { kRtm, kInterface, kAddress, kRoute, kRedistribution, kProtocol };
constexpr std::size_t kRowTypes = static_cast<std::size_t>(RowType::kProtocol) + 1;

/// Names a row: its kind, and what makes its key. Members that are not in the key of its kind are 0
/// or empty.
struct SMS_API RowName {
  RowType type = RowType::kRtm;
  std::uint32_t instance = 0;      // of every kind
  std::uint32_t ifIndex = 0;       // of an interface or an address; of a route, as requested
  int addressType = 0;             // of an address or a route: 1 IPv4, 2 IPv6
  unsigned char address[16] = {};  // of an address; of a route, its destination
  std::uint32_t prefixLength = 0;  // of a route
  unsigned char nextHop[16] = {};  // of a route
  std::uint32_t source = 0;        // of a rule, as in RedistributionRow
  std::uint32_t destination = 0;   // of a rule
  std::uint32_t table = 0;         // of a protocol row, as in protocol_rows.h
  std::string key;                 // of a protocol row

  /// By kind, then by the members in their order.
  friend SMS_API bool operator<(const RowName& a, const RowName& b);
  friend SMS_API bool operator==(const RowName& a, const RowName& b);
};

/// An instance, with its administrative distances.
struct InstanceEntry {
  std::uint32_t instance = 0;
  int addressType = 1;         // 1 IPv4, 2 IPv6
  std::uint32_t routerId = 0;  // an IPv4 address in network order
  std::uint32_t ospfInternal = 0;
  std::uint32_t ospfExternal = 0;
  std::uint32_t bgpExternal = 0;
  std::uint32_t bgpInternal = 0;
  std::uint32_t rip = 0;
};

/// A static route as it was requested, whether it is usable or not, and what became of it.
struct StaticRoute {
  std::uint32_t instance = 0;
  int addressType = 1;  // 1 IPv4, 2 IPv6
  unsigned char destination[16] = {};
  std::uint32_t prefixLength = 0;
  unsigned char nextHop[16] = {};
  std::uint32_t ifIndex = 0;  // as requested, 0 for none; a row of the RIB shows the resolved one
  std::uint32_t metric = 0;
  bool isUp = true;          // by its admin status
  bool isUsable = false;     // it is up and its next hop resolves: it could be installed
  bool isInstalled = false;  // it is in the forwarding table
};

/// The protocols that routes come from, in the order of their codes in the rows: 2, 3, 8, 13, 14.
enum class RouteProtocol : unsigned char { kConnected, kStatic, kRip, kOspf, kBgp };
constexpr std::size_t kRouteProtocols = static_cast<std::size_t>(RouteProtocol::kBgp) + 1;

/// A candidate for the routes of its prefix, with everything that decides whether it is installed.
struct RouteCandidate {
  std::uint32_t instance = 0;
  unsigned char destination[16] = {};
  std::uint32_t prefixLength = 0;
  RouteProtocol protocol = RouteProtocol::kStatic;
  unsigned char nextHop[16] = {};      // 0 for none
  std::uint32_t requestedIfIndex = 0;  // as requested, 0 for none
  std::uint32_t ifIndex = 0;           // over which it is reached; 0 while that is not determined
  std::uint32_t distance = 0;          // of two that could be installed, the lower one is,
  std::uint32_t metric = 0;            // then the one with the lower metric
  std::uint32_t age = 0;               // since it was first put into the table
  std::uint32_t installedAge = 0;      // since it was installed last; 0 for one that is not
  bool isUp = true;                    // by its admin status
  bool isReached = false;              // its next hop resolves over an interface that is up
  bool isInstalled = false;            // it is in the forwarding table
  bool isBeside = false;               // it stands beside the installed one
};

/// Where the route of a prefix leads, too: one that stands beside the installed one.
struct NextHopBeside {
  unsigned char nextHop[16] = {};
  std::uint32_t ifIndex = 0;  // over which it is reached
};

/// A prefix of an instance, in its family. Bits after the length do not count, and a length that
/// the family does not have is its greatest one.
struct RoutePrefix {
  unsigned char destination[16] = {};
  std::uint32_t length = 0;
};

/// Numbers of candidates, by RouteProtocol.
struct RouteCounts {
  std::array<std::size_t, kRouteProtocols> candidates{};  // usable or not
  std::array<std::size_t, kRouteProtocols> installed{};   // of these; one for each route
};

/// A redistribution rule. Protocols are the stack's codes: the route-protocol code shifted left by
/// 16 bits.
struct RedistributionRow {
  std::uint32_t vlan;  // the instance: with 0x8000 for IPv6
  std::uint32_t source, destination;
  bool isUp = true;  // by its admin status
};

/// A walk that has not ended.
struct RunningWalk {
  unsigned int number = 0;  // as the handler gets it, counted from 1; none comes twice
  unsigned int first =
      0;                // of a walk that was begun inside another one's handler, that one's first
  bool isHeld = false;  // by Upkeep::HoldWalk
};

/// What becomes of a prefix in the forwarding table.
enum class ForwardingChange {
  kCame,      // it has a route, and had none
  kReplaced,  // its route is another one, or the same with other values or with others beside it, or
              // told once more
  kGone       // it has no route any more
};

/// Hears what the stack does. RoutingStack::SetListener takes it.
///
/// Everything is called from inside the stack's run, or from inside the call that had the effect,
/// and in the order in which things happen. A listener may only note what it hears: it may call
/// neither the stack, these facts included, nor the library, and must not throw. What it is handed
/// is valid during the call.
class SMS_API Listener {
 public:
  virtual ~Listener() = default;

  /// The stack has finished a request: `status` is 1 if it was done, else why it was refused
  /// (sms.h), by the stack's own rules or by a script. It is 0 for one that was never answered and
  /// whose end is reported now (Upkeep::EndLostRequests); what the row is then, its table tells.
  /// `rowStatus` is the request's. Called before the library hears of the same answer, once for
  /// each answer, and also for the requests of interfaces, addresses and instances, whose answers
  /// have no status for the library. Further requests for the row may wait.
  virtual void Answered(const RowName& row, int rowStatus, unsigned int status);
  /// The stack has forgotten its tables and requests, the forwarding table included, and begins
  /// anew. It is not ready yet.
  virtual void Restarted();

  /// Whether ForwardingChanged is to be called; asked once, when the listener is set. Only then
  /// telling costs anything.
  virtual bool WantsForwarding() const;
  /// The forwarding table changes. `route` is the row as Facts::Routes() shows it; of one that has
  /// gone only its instance, destination and prefix length count. Applied in their order to the
  /// Routes() of the moment at which the listener was set, the changes give the Routes() of a stack
  /// that is idle, except for the ages. `beside` is what stands beside the installed candidate now,
  /// as Facts::NextHopsBeside tells. `cause` is the kind of row whose request brought the
  /// change, at once or as a consequence that was worked off later: kRoute, kInterface, kAddress,
  /// or kRtm for an instance, its distances and the number of its next hops. It is kProtocol if a
  /// protocol's candidate came, changed or went, for which there is no request.
  virtual void ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                                 const std::vector<NextHopBeside>& beside, RowType cause);
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
  /// Those that are installed, and those beside them, have fib_flag 1.
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

  // Slices of the tables: the next rows after `last`, or the first ones for a null pointer, at most
  // `most` (1 or more), in the order above. An empty slice is the end. Only what makes the key of
  // `last` counts; it need not be in the table any more, so rows may come and go between two
  // slices: those that stay are met exactly once. Rows of protocols are listed one by one by
  // sms_get_next_protocol_row (protocol_rows.h).

  std::vector<InstanceEntry> InstancesAfter(const InstanceEntry* last, std::size_t most) const;
  std::vector<amb_stubs_i3_ei> InterfacesAfter(const amb_stubs_i3_ei* last, std::size_t most) const;
  std::vector<amb_stubs_i3_ea> AddressesAfter(const amb_stubs_i3_ea* last, std::size_t most) const;
  /// By instance, prefix, next hop and interface.
  std::vector<StaticRoute> StaticRoutesAfter(const StaticRoute* last, std::size_t most) const;
  std::vector<RedistributionRow> RedistributionsAfter(const RedistributionRow* last,
                                                      std::size_t most) const;

  // Single rows; nothing if there is no such row. Only what makes the key of the argument counts.

  std::optional<InstanceEntry> FindInstance(std::uint32_t instance) const;
  std::optional<amb_stubs_i3_ei> FindInterface(std::uint32_t instance, std::uint32_t ifIndex) const;
  std::optional<amb_stubs_i3_ea> FindAddress(const amb_stubs_i3_ea& key) const;
  std::optional<StaticRoute> FindStaticRoute(const StaticRoute& key) const;
  std::optional<RedistributionRow> FindRedistribution(const RedistributionRow& key) const;

  // The candidates of an instance; an instance that does not exist has none.

  /// A slice as above, by prefix (address, then length), protocol, next hop and interface.
  std::vector<RouteCandidate> CandidatesAfter(std::uint32_t instance, const RouteCandidate* last,
                                              std::size_t most) const;
  /// The first slice of those at and after a prefix; CandidatesAfter goes on.
  std::vector<RouteCandidate> CandidatesFrom(std::uint32_t instance, const RoutePrefix& prefix,
                                             std::size_t most) const;
  /// All candidates of a prefix: the installed one, then those that would follow it if it went, in
  /// their order, then those that cannot be installed, by distance, metric and key.
  std::vector<RouteCandidate> CandidatesOf(std::uint32_t instance, const RoutePrefix& prefix) const;
  /// The installed one; nothing while there is none, or another one is about to take its place. The
  /// cost is that of a search, however many candidates the prefix has.
  std::optional<RouteCandidate> InstalledOf(std::uint32_t instance,
                                            const RoutePrefix& prefix) const;
  /// What stands beside the installed one, in the order in which they would follow it. None unless
  /// the VLAN may have several next hops; asking costs a search then, and nothing otherwise.
  std::vector<NextHopBeside> NextHopsBeside(std::uint32_t instance,
                                            const RoutePrefix& prefix) const;
  /// The longest prefix that holds the address (in network order, of the instance's family) and has
  /// a candidate, or, with `isInstalled`, a route in the forwarding table. The cost is that of at
  /// most one search for each length of a prefix, whatever candidates there are.
  std::optional<RoutePrefix> LongestMatch(std::uint32_t instance,
                                          const unsigned char (&address)[16],
                                          bool isInstalled) const;
  /// How many candidates an instance has, and all together. The numbers are kept: asking costs
  /// nothing.
  RouteCounts CountRoutes(std::uint32_t instance) const;
  RouteCounts CountRoutes() const;

  // Life.

  /// Whether the stack has announced that it takes requests (cI3Ready) since it was started, or
  /// since its last restart.
  bool IsReady() const;
  /// Whether it has announced that the instance is ready (cSetRtmReady) since the instance came: it
  /// takes its routes, rules and protocol rows.
  bool IsReady(std::uint32_t instance) const;
  /// How often the stack has been restarted.
  unsigned int CountRestarts() const;
  /// Whether the stack stands still (Control::Hold).
  bool IsHeld() const;
  /// Whether a run of the stack would do anything at this moment. False while it is held, and while
  /// everything that it has to do is due later.
  bool HasWork() const;

  // Requests.

  /// The requests for rows that the stack has received since it was made, whether they succeeded or
  /// not: to set or to destroy an instance, a route, an interface, an address, a redistribution
  /// rule or a protocol row. Walks, identifier builders, tracing and scheduling do not count. The
  /// count never goes back, not even over a restart of the stack: if two counts are equal, no row
  /// was requested in between.
  std::uint64_t CountRequests() const;
  /// Whether the stack has not finished some request. A request is finished when it is answered. It
  /// is not while it is queued or due later, and if it is never answered, because of a script or of
  /// a restart, it is not until a later request for its row is, or until Upkeep::EndLostRequests.
  bool HasUnfinished() const;
  /// Whether it has not finished some request for this row. What a question costs does not depend
  /// on the number of requests that wait, except that the first one after the stack was idle looks
  /// at all of them.
  bool IsUnfinished(const RowName& row) const;
  /// When the first of these requests came, by the stack's clock; nothing if there is none.
  std::optional<std::uint64_t> UnfinishedSince(const RowName& row) const;

  // Walks.

  /// The walks that have not ended, held ones included, in the order of their numbers.
  std::vector<RunningWalk> Walks() const;
  /// The number of the walk that was begun last, 0 before the first one.
  unsigned int LastWalk() const;

 private:
  const Engine& m_engine;
};

}  // namespace routing_stack

#endif
