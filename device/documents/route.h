// Static routes as documents write them.
#ifndef DEVICE_DOCUMENTS_ROUTE_H
#define DEVICE_DOCUMENTS_ROUTE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "element_names.h"
#include "place.h"

namespace documents {

/// Identifies a route, except for its interface. Addresses are in network order, an IPv4 one in the
/// first four bytes. The metric is not part of the identity: a route has one metric.
struct RouteTarget {
  unsigned short vlan = 0;
  bool ip6 = false;
  unsigned char length = 0;
  std::array<unsigned char, 16> destination{};
  std::array<unsigned char, 16> gateway{};
};

bool operator<(const RouteTarget& a, const RouteTarget& b);
bool operator==(const RouteTarget& a, const RouteTarget& b);

/// The text of an address of a target.
std::string AddressText(bool ip6, const std::array<unsigned char, 16>& address);

/// A route of a document. There can be a million of them, so what routes have in common is kept
/// once, by their Routes.
struct Route {
  RouteTarget target;
  std::uint16_t metric = 0;
  std::uint32_t interface = 0;  // Routes::InterfaceOf tells its name; 0 for none
  Position position;
  ElementNames::Element element;  // for Routes::PlaceOf
};

/// The routes of one document, in the order of their targets and of their interfaces' names, none
/// twice. RoutesBuilder makes them; they do not change afterwards.
class Routes {
 public:
  const std::vector<Route>& Get() const { return m_routes; }
  /// The name of a route's interface; empty for none.
  const std::string& InterfaceOf(const Route& route) const { return m_interfaces[route.interface]; }
  /// The path of the route's member, and where its value begins.
  Place PlaceOf(const Route& route, const std::string& file) const;

 private:
  friend class RoutesBuilder;

  std::vector<Route> m_routes;
  std::vector<std::string> m_interfaces{""};  // in the order of their names
  ElementNames m_names;
};

}  // namespace documents

#endif
