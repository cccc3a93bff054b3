#include "route_set.h"

#include <algorithm>

namespace apply {

using intent::ResolvedRoute;

std::size_t RouteSet::Find(const RouteRow& row) const {
  const auto found = std::lower_bound(
      routes->begin(), routes->end(), row,
      [](const ResolvedRoute& a, const RouteRow& b) { return CompareRoutes(a, b) < 0; });
  const bool isThere = found != routes->end() && CompareRoutes(*found, row) == 0;
  return isThere ? static_cast<std::size_t>(found - routes->begin()) : NONE;
}

std::size_t RouteSet::FirstOf(const documents::RouteTarget& prefix) const {
  const auto found = std::lower_bound(routes->begin(), routes->end(), prefix,
                                      [](const ResolvedRoute& a, const documents::RouteTarget& b) {
                                        return ComparePrefixes(a.target, b) < 0;
                                      });
  return static_cast<std::size_t>(found - routes->begin());
}

std::size_t RouteSet::FirstOf(unsigned int vlan) const {
  const auto found =
      std::lower_bound(routes->begin(), routes->end(), vlan,
                       [](const ResolvedRoute& a, unsigned int b) { return a.target.vlan < b; });
  return static_cast<std::size_t>(found - routes->begin());
}

}  // namespace apply
