// Static routes as the host keeps them.
#ifndef DEVICE_HOST_ROUTE_H
#define DEVICE_HOST_ROUTE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace host {

/// What names a route but for its interface. Addresses are in network order, an IPv4 one in the
/// first four bytes. The metric is no part of it: a route has one metric.
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

/// A route as documents write it: with the interface's name, "" for none.
using RouteKey = std::pair<RouteTarget, std::string>;

struct RouteValue {
  unsigned int metric = 0;
  std::string origin;  // the place in the document
};

using RouteSet = std::map<RouteKey, RouteValue>;

/// A route as the stack has it: with the interface's index, 0 for none.
using RowKey = std::pair<RouteTarget, std::uint32_t>;

/// Rows with their metrics.
using Rows = std::map<RowKey, unsigned int>;

}  // namespace host

#endif
