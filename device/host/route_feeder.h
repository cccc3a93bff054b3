// Carries out route plans.
#ifndef DEVICE_HOST_ROUTE_FEEDER_H
#define DEVICE_HOST_ROUTE_FEEDER_H

#include <set>

#include "route.h"

namespace host {

/// Knows what has been asked of the library, and asks for the rest.
class RouteFeeder {
 public:
  /// Makes `wanted` the routes of the device. The number of requests.
  std::size_t Push(const Rows& wanted);
  /// Asks for the removal of all routes of these VLANs. The number of requests.
  std::size_t RemoveVlans(const std::set<unsigned short>& vlans);
  /// Nothing counts as asked for any more.
  void Forget() { m_rows.clear(); }
  /// Everything that is asked for.
  const Rows& GetRows() const { return m_rows; }

 private:
  Rows m_rows;
};

}  // namespace host

#endif
