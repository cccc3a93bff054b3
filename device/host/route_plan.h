// What has to be asked of the library so that its routes become the configured ones.
#ifndef DEVICE_HOST_ROUTE_PLAN_H
#define DEVICE_HOST_ROUTE_PLAN_H

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "route.h"

namespace host {

/// Answers which index an interface of a VLAN has.
using FindInterface =
    std::function<std::optional<std::uint32_t>(unsigned short vlan, const std::string& name)>;
using HasVlan = std::function<bool(unsigned short vlan)>;

/// Configured routes as rows. Those of VLANs that do not exist are left out. Those whose interface
/// does not exist are left out as well and named in `waiting`.
Rows ResolveRoutes(const RouteSet& routes, const HasVlan& hasVlan, const FindInterface& find,
                   std::vector<RouteKey>& waiting);

struct RoutePlan {
  std::vector<RowKey> remove;
  std::vector<std::pair<RowKey, unsigned int>> add;  // with the metric
};

/// The differences only. A route whose metric has changed is added again, which overwrites it.
RoutePlan PlanRoutes(const Rows& present, const Rows& wanted);

}  // namespace host

#endif
