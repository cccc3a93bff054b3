// Carries out route plans.
#ifndef DEVICE_APPLY_ROUTE_FEEDER_H
#define DEVICE_APPLY_ROUTE_FEEDER_H

#include <cstddef>
#include <set>

#include "device/intent/route_plan.h"

namespace apply {

/// Knows which routes have been asked of the library, and asks for the rest.
class RouteFeeder {
 public:
  /// Makes `wanted` the routes of the device. Returns how many requests that took.
  std::size_t Push(const intent::ResolvedRoutes& wanted);
  /// Asks for the removal of all routes of these VLANs. Returns how many requests that took.
  std::size_t RemoveVlans(const std::set<unsigned short>& vlans);
  /// From now on no route counts as asked for: the stack has lost them all.
  void Forget() { m_routes.clear(); }
  /// The routes that have been asked for.
  const intent::ResolvedRoutes& GetRoutes() const { return m_routes; }

 private:
  intent::ResolvedRoutes m_routes;
};

}  // namespace apply

#endif
