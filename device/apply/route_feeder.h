// Carries out route plans.
#ifndef DEVICE_APPLY_ROUTE_FEEDER_H
#define DEVICE_APPLY_ROUTE_FEEDER_H

#include <cstddef>
#include <memory>

#include "device/intent/route_plan.h"

namespace apply {

/// Knows which routes have been requested of the library, and requests the rest.
class RouteFeeder {
 public:
  /// Begins to carry out a plan that is from GetRoutes() to other routes. Its requests are made by
  /// Continue: first what has to be removed, then what has to be added.
  void Begin(std::shared_ptr<const intent::RoutePlan> plan);
  /// Makes at most `most` of the plan's requests. Returns how many it has made: fewer than `most` when
  /// the plan is carried out.
  std::size_t Continue(std::size_t most);
  /// Forgets which routes have been requested: the stack has lost them all. A plan that has begun is
  /// forgotten as well.
  void Forget();
  /// The routes that have been requested; while a plan is being carried out, those from before it.
  /// Never null.
  const intent::SharedRoutes& GetRoutes() const { return m_routes; }

 private:
  intent::SharedRoutes m_routes = std::make_shared<const intent::ResolvedRoutes>();
  std::shared_ptr<const intent::RoutePlan> m_plan;  // null if none is being carried out
  std::size_t m_removed = 0;                        // of the plan
  std::size_t m_added = 0;                          // so too
};

}  // namespace apply

#endif
