#include "route_plan.h"

namespace intent {

ResolvedRoutes ResolveRoutes(const documents::RouteSet& routes, const HasVlan& hasVlan,
                             const FindInterface& find, std::vector<documents::RouteKey>& waiting) {
  ResolvedRoutes resolved;
  for (const auto& [key, value] : routes) {
    if (!hasVlan(key.target.vlan)) {
      continue;
    }
    const auto index = key.interface.empty() ? std::optional<std::uint32_t>(0)
                                             : find(key.target.vlan, key.interface);
    if (index) {
      resolved.emplace(ResolvedRoute{key.target, *index}, value.metric);
    } else {
      waiting.push_back(key);
    }
  }
  return resolved;
}

RoutePlan PlanRoutes(const ResolvedRoutes& present, const ResolvedRoutes& wanted) {
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

}  // namespace intent
