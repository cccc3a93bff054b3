// The requests that make the library's routes the wanted ones.
#ifndef DEVICE_INTENT_ROUTE_PLAN_H
#define DEVICE_INTENT_ROUTE_PLAN_H

#include <vector>

#include "route_resolution.h"

namespace intent {

/// The differences between two sets of routes, which it shares.
struct RoutePlan {
  SharedRoutes present;
  SharedRoutes wanted;
  std::vector<const ResolvedRoute*> remove;  // of `present`, in their order
  std::vector<const ResolvedRoute*> add;     // of `wanted`, in their order
};

/// Returns the differences only. A route whose metric has changed is added again, which overwrites
/// it.
RoutePlan PlanRoutes(SharedRoutes present, SharedRoutes wanted);

}  // namespace intent

#endif
