// Carries out route plans.
#ifndef DEVICE_APPLY_ROUTE_FEEDER_H
#define DEVICE_APPLY_ROUTE_FEEDER_H

#include <cstddef>
#include <set>

#include "device/intent/route_plan.h"

namespace apply {

/// Knows which routes have been requested of the library, and requests the rest.
class RouteFeeder {
 public:
  /// Makes `wanted` the routes of the device. Returns the number of requests.
  std::size_t Push(const intent::ResolvedRoutes& wanted);
  /// Requests the removal of all routes of these VLANs. Returns the number of requests.
  std::size_t RemoveVlans(const std::set<unsigned short>& vlans);
  /// Forgets which routes have been requested: the stack has lost them all.
  void Forget() { m_routes.clear(); }
  /// The routes that have been requested.
  const intent::ResolvedRoutes& GetRoutes() const { return m_routes; }

 private:
  intent::ResolvedRoutes m_routes;
};

}  // namespace apply

#endif
