#include "elsewhere.h"

#include <algorithm>

namespace views {

namespace {

using rows::Differences;

// The index of routes among the kinds of rows.
std::size_t RoutesIndex() { return rows::Row(rows::RouteRow{}).index(); }

std::size_t CountAll(const Differences::KindCounts& counts) {
  std::size_t all = 0;
  for (const Differences::Counts& kind : counts) {
    all += kind.all;
  }
  return all;
}

// One number is read after the other, in one turn of the loop.
std::size_t Without(std::size_t all, std::size_t some) { return all - std::min(all, some); }

std::size_t CountWaitingElsewhere(const routes::RouteKeeper& routes, unsigned short vlan) {
  return Without(routes.CountOpen(), routes.CountOpen(vlan)) +
         Without(routes.GetUnresolved()->size(), CountLacking(routes, vlan));
}

}  // namespace

std::size_t CountLacking(const routes::RouteKeeper& routes, unsigned short vlan) {
  const intent::UnresolvedRoutes& all = *routes.GetUnresolved();
  const auto begin = std::partition_point(
      all.begin(), all.end(),
      [vlan](const intent::UnresolvedRoute& route) { return route.target.vlan < vlan; });
  const auto end = std::partition_point(
      begin, all.end(),
      [vlan](const intent::UnresolvedRoute& route) { return route.target.vlan == vlan; });
  return static_cast<std::size_t>(end - begin);
}

std::optional<unsigned int> NextLackingVlan(const routes::RouteKeeper& routes, unsigned int from) {
  const intent::UnresolvedRoutes& all = *routes.GetUnresolved();
  const auto next = std::partition_point(
      all.begin(), all.end(),
      [from](const intent::UnresolvedRoute& route) { return route.target.vlan < from; });
  return next == all.end() ? std::nullopt : std::optional<unsigned int>(next->target.vlan);
}

std::string DescribeRowsElsewhere(const Sources& sources, unsigned short vlan) {
  const Differences& differences = sources.GetDifferences();
  const std::size_t count = Without(differences.Count(), CountAll(differences.GetCounts(vlan))) +
                            CountWaitingElsewhere(sources.GetRoutes(), vlan);
  if (count == 0) {
    return {};
  }
  return std::to_string(count) + (count == 1 ? " row" : " rows") +
         " in other VLANs (`requests vrf all` lists " + (count == 1 ? "it)\n" : "them)\n");
}

std::string DescribeRoutesElsewhere(const Sources& sources, unsigned short vlan,
                                    RouteQuery::State state) {
  const Differences::Counts all = sources.GetDifferences().GetCounts()[RoutesIndex()];
  const Differences::Counts own = sources.GetDifferences().GetCounts(vlan)[RoutesIndex()];
  const std::size_t refused = Without(all.refused, own.refused);
  const bool isRefused = state == RouteQuery::State::REFUSED;
  const std::size_t count = isRefused ? refused
                                      : CountWaitingElsewhere(sources.GetRoutes(), vlan) +
                                            Without(Without(all.all, own.all), refused);
  if (count == 0) {
    return {};
  }
  const bool isOne = count == 1;
  return std::to_string(count) + (isOne ? " static route" : " static routes") +
         (isRefused ? (isOne ? " is refused" : " are refused") : (isOne ? " waits" : " wait")) +
         " in other VLANs (`requests vrf all` lists " + (isOne ? "it)\n" : "them)\n");
}

}  // namespace views
