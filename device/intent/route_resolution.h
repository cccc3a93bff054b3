// Which of the wanted routes can be requested.
#ifndef DEVICE_INTENT_ROUTE_RESOLUTION_H
#define DEVICE_INTENT_ROUTE_RESOLUTION_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "device/documents/folder.h"

namespace intent {

/// A route as it is requested of the library. Its identity is the target and the interface.
struct ResolvedRoute {
  documents::RouteTarget target;
  std::uint32_t ifIndex = 0;  // 0 for none
  std::uint32_t metric = 0;

  /// Whether this one comes first in the order of identities.
  bool ComesBefore(const ResolvedRoute& other) const {
    return std::tie(target, ifIndex) < std::tie(other.target, other.ifIndex);
  }
  friend bool operator==(const ResolvedRoute& a, const ResolvedRoute& b) {
    return a.target == b.target && a.ifIndex == b.ifIndex && a.metric == b.metric;
  }
};

/// In the order of their identities, none twice.
using ResolvedRoutes = std::vector<ResolvedRoute>;
using SharedRoutes = std::shared_ptr<const ResolvedRoutes>;

/// A route that waits: what it needs does not exist.
struct UnresolvedRoute {
  documents::RouteTarget target;
  std::uint32_t metric = 0;
  std::string interface;   // its name; empty for none
  bool lacksVlan = false;  // otherwise it is the interface that is not there
};

/// In the order of their targets and of their interfaces' names.
using UnresolvedRoutes = std::vector<UnresolvedRoute>;
using SharedUnresolved = std::shared_ptr<const UnresolvedRoutes>;

/// The indexes of interfaces by VLAN and name.
using InterfaceIndexes = std::map<std::pair<unsigned short, std::string>, std::uint32_t>;

/// What resolution depends on besides the documents.
struct RouteContext {
  documents::VlanIds vlans;  // that exist
  /// Never null.
  std::shared_ptr<const InterfaceIndexes> interfaces = std::make_shared<const InterfaceIndexes>();

  friend bool operator==(const RouteContext& a, const RouteContext& b);
};

/// Returns the routes of documents that can be requested: those of VLANs that exist and without an
/// interface or with one that exists. The others wait: they come with a context that has what they
/// lack. They are appended to `unresolved`, unless that is null.
ResolvedRoutes ResolveRoutes(const documents::ConfigFiles& documents, const RouteContext& context,
                             UnresolvedRoutes* unresolved = nullptr);

}  // namespace intent

#endif
