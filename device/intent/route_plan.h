// The requests that make the library's routes the wanted ones.
#ifndef DEVICE_INTENT_ROUTE_PLAN_H
#define DEVICE_INTENT_ROUTE_PLAN_H

#include <utility>
#include <vector>

#include "route_resolution.h"

namespace intent {

struct RoutePlan {
  std::vector<ResolvedRoute> remove;
  std::vector<std::pair<ResolvedRoute, unsigned int>> add;  // with the metric
};

/// Returns the differences only. A route whose metric has changed is added again, which overwrites
/// it.
RoutePlan PlanRoutes(const ResolvedRoutes& present, const ResolvedRoutes& wanted);

}  // namespace intent

#endif
