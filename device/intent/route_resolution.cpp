#include "route_resolution.h"

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

}  // namespace intent
