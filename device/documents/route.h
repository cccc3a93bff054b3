// Static routes as documents write them.
#ifndef DEVICE_DOCUMENTS_ROUTE_H
#define DEVICE_DOCUMENTS_ROUTE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>

#include "place.h"

namespace documents {

/// Identifies a route, except for its interface. Addresses are in network order, an IPv4 one in the
/// first four bytes. The metric is not part of the identity: a route has one metric.
struct RouteTarget {
  unsigned short vlan = 0;
  bool ip6 = false;
  std::array<unsigned char, 16> destination{};
  unsigned int length = 0;
  std::array<unsigned char, 16> gateway{};

  friend bool operator<(const RouteTarget& a, const RouteTarget& b) {
    return std::tie(a.vlan, a.ip6, a.destination, a.length, a.gateway) <
           std::tie(b.vlan, b.ip6, b.destination, b.length, b.gateway);
  }
  friend bool operator==(const RouteTarget& a, const RouteTarget& b) {
    return std::tie(a.vlan, a.ip6, a.destination, a.length, a.gateway) ==
           std::tie(b.vlan, b.ip6, b.destination, b.length, b.gateway);
  }
};

/// A route as documents write it.
struct RouteKey {
  RouteTarget target;
  std::string interface;  // its name, empty for none

  friend bool operator<(const RouteKey& a, const RouteKey& b) {
    return std::tie(a.target, a.interface) < std::tie(b.target, b.interface);
  }
  friend bool operator==(const RouteKey& a, const RouteKey& b) {
    return std::tie(a.target, a.interface) == std::tie(b.target, b.interface);
  }
};

struct RouteValue {
  unsigned int metric = 0;
  Place origin;
};

using RouteSet = std::map<RouteKey, RouteValue>;

}  // namespace documents

#endif
