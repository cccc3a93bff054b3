#include "route_set.h"

#include <algorithm>

namespace routes {

using intent::ResolvedRoute;

void RouteLife::Asked(std::uint64_t milliseconds) {
  asked = static_cast<std::uint32_t>(milliseconds / 1000);
  count = static_cast<std::uint16_t>(std::min<unsigned int>(count + 1u, UINT16_MAX));
  answeredIn = 0;
  status = 0;
}

void RouteLife::Answered(std::uint64_t milliseconds, unsigned int answer) {
  const std::uint64_t seconds = milliseconds / 1000 - asked;
  answeredIn = static_cast<std::uint16_t>(std::min<std::uint64_t>(seconds, UINT16_MAX));
  status = std::min(answer, 255u) & 255u;
}

std::size_t RouteSet::Find(const rows::RouteRow& row) const {
  const auto found = std::lower_bound(
      routes->begin(), routes->end(), row,
      [](const ResolvedRoute& a, const rows::RouteRow& b) { return CompareRoutes(a, b) < 0; });
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

}  // namespace routes
