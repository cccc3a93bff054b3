// The static routes that the host knows of, in order.
#ifndef DEVICE_VIEWS_KNOWN_ROUTES_H
#define DEVICE_VIEWS_KNOWN_ROUTES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "device/routes/route_keeper.h"
#include "questions.h"

namespace views {

/// A route that is wanted or leaves. The pointer is good until the loop's next turn.
struct KnownRoute {
  enum class Kind { WANTED, LEAVING, UNRESOLVED };

  Kind kind = Kind::WANTED;
  documents::RouteTarget target;
  std::uint32_t ifIndex = 0;
  std::uint32_t metric = 0;
  routes::RouteState state{};
  const intent::UnresolvedRoute* unresolved = nullptr;  // of such a one
  routes::RouteBook::Place place;                       // of the others
};

/// Names a place in the order of the rows of a table: by prefix, protocol, gateway and interface,
/// static routes that wait for an interface after the others with their gateway.
struct RowKey {
  documents::RouteTarget target;
  Protocol protocol = Protocol::STATIC;
  std::uint32_t ifIndex = 0;
  bool isUnresolved = false;
  std::string interface;  // of an unresolved one
};

/// Below, equal to or above 0. The targets are of one VLAN and family.
int Compare(const KnownRoute& a, const Candidate& b);

/// Goes through the routes of one table (VLAN and family). To be used within one turn of the loop
/// only.
class KnownRoutes {
 public:
  /// Those after `last`: with a protocol before static, all of its prefix and after.
  KnownRoutes(const routes::RouteKeeper& keeper, const RowKey& last);

  /// Null at the end of the table.
  const KnownRoute* Get() const { return m_isThere ? &m_route : nullptr; }
  void Advance();

 private:
  void Choose();
  void Offer(const routes::RouteSet& set, KnownRoute::Kind kind, std::size_t position);

  const routes::RouteSet& m_wanted;
  const routes::RouteSet& m_leaving;
  const intent::UnresolvedRoutes& m_unresolved;
  const documents::RouteTarget m_table;
  std::size_t m_atWanted;
  std::size_t m_atLeaving;
  std::size_t m_atUnresolved;
  KnownRoute m_route;
  bool m_isThere = false;
};

/// The longest prefix that holds the address and has a wanted route, or one in the state, as far as
/// the host knows that without the stack.
std::optional<Prefix> FindLongestKnown(const routes::RouteKeeper& keeper, unsigned short vlan,
                                       const Address& address,
                                       const std::optional<RouteQuery::State>& state);

/// The next VLAN at or after `vlan` of which the keeper knows any route.
std::optional<unsigned int> NextVlan(const routes::RouteKeeper& keeper, unsigned int vlan);

}  // namespace views

#endif
