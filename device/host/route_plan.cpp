#include "route_plan.h"

namespace host {

Rows ResolveRoutes(const RouteSet& routes, const HasVlan& hasVlan, const FindInterface& find,
                   std::vector<RouteKey>& waiting) {
  Rows rows;
  for (const auto& [key, value] : routes) {
    const auto& [target, interface] = key;
    if (!hasVlan(target.vlan)) {
      continue;
    }
    const auto index =
        interface.empty() ? std::optional<std::uint32_t>(0) : find(target.vlan, interface);
    if (index) {
      rows.emplace(RowKey(target, *index), value.metric);
    } else {
      waiting.push_back(key);
    }
  }
  return rows;
}

RoutePlan PlanRoutes(const Rows& present, const Rows& wanted) {
  RoutePlan plan;
  auto have = present.begin();
  auto want = wanted.begin();
  while (have != present.end() || want != wanted.end()) {
    if (want == wanted.end() || (have != present.end() && have->first < want->first)) {
      plan.remove.push_back((have++)->first);
    } else if (have == present.end() || want->first < have->first) {
      plan.add.push_back(*want++);
    } else {
      if (have->second != want->second) {
        plan.add.push_back(*want);
      }
      ++have;
      ++want;
    }
  }
  return plan;
}

}  // namespace host
