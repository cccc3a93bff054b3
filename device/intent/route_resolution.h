// Which of the wanted routes can be requested, and which have to wait for their interface.
#ifndef DEVICE_INTENT_ROUTE_RESOLUTION_H
#define DEVICE_INTENT_ROUTE_RESOLUTION_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "device/documents/route.h"

namespace intent {

/// A route as it is requested of the library.
struct ResolvedRoute {
  documents::RouteTarget target;
  std::uint32_t ifIndex = 0;  // 0 for none

  friend bool operator<(const ResolvedRoute& a, const ResolvedRoute& b) {
    return std::tie(a.target, a.ifIndex) < std::tie(b.target, b.ifIndex);
  }
  friend bool operator==(const ResolvedRoute& a, const ResolvedRoute& b) {
    return std::tie(a.target, a.ifIndex) == std::tie(b.target, b.ifIndex);
  }
};

/// Routes with their metrics.
using ResolvedRoutes = std::map<ResolvedRoute, unsigned int>;

/// Returns the index of a VLAN's interface, or nothing if there is no such interface.
using FindInterface =
    std::function<std::optional<std::uint32_t>(unsigned short vlan, const std::string& name)>;
using HasVlan = std::function<bool(unsigned short vlan)>;

/// Returns the routes that can be requested. Routes of VLANs that do not exist are left out. Routes
/// whose interface does not exist are left out, too, and added to `waiting`: the reloader
/// (ApplyRoutes in device/apply/reloader.cpp) tells of each once, and asks again with the next reload.
ResolvedRoutes ResolveRoutes(const documents::RouteSet& routes, const HasVlan& hasVlan,
                             const FindInterface& find, std::vector<documents::RouteKey>& waiting);

}  // namespace intent

#endif
