// Static routes: the requests and the stack's answers. Routes of both families of a VLAN share one
// bucket of the scheduler. The requests for redistribution rules are in
// redistribution_requests.cpp, the instances in dc_rtm_mgr.cpp.

#include <new>

#include "requests.h"
#include "src/values/row_codes.h"
#include "tarsel/trace.h"
#include "vantacore/cfg_items.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

constexpr OutcomeTexts ROUTE_TEXTS = {"Route Programmed Successfully\n",
                                      "Route Not programmed!!! Retrying...\n",
                                      "Unable to set route. No retry!!!\n"};

// The stack may leave out the next hop of a route that has none.
string FormatAddress(int type, const unsigned char* address) {
  static const unsigned char unspecified[16] = {};
  const unsigned char* bytes = address == nullptr ? unspecified : address;
  return type == TYPE_IPV4 ? FormatIp4Addr(bytes) : FormatIp6Addr(bytes);
}

}  // namespace

void DcRtmMgr::UpdateStaticRoute(unsigned int vlan, int type, const unsigned char* dest,
                                 int prefixLen, const unsigned char* nexthop, unsigned int ifIndex,
                                 unsigned int metric, int pathType, int rowStatus,
                                 int adminStatus) {
  auto* item = new (std::nothrow) StaticRouteItem(vlan, type, rowStatus, adminStatus, dest,
                                                  prefixLen, nexthop, ifIndex, metric, pathType, 0);
  if (item == nullptr) {
    TRACE(1, "%s::%s: Error in Allocating RouteItem\n", __class__, "UpdateStaticRoute");
    return;
  }
  InsertItem(CfgKey{vlan, ROW_TYPE_STATIC_ROUTE}, item);
}

void DcRtmMgr::UpdateStaticRoute(unsigned short vlan, const Ip4Addr& dest, int prefixLen,
                                 const Ip4Addr& nexthop, unsigned int ifIndex,
                                 unsigned short metric, int pathType, unsigned int rowStatus,
                                 unsigned int adminStatus) {
  UpdateStaticRoute(static_cast<unsigned int>(vlan), TYPE_IPV4, dest.GetBytes(), prefixLen,
                    nexthop.GetBytes(), ifIndex, metric, pathType, static_cast<int>(rowStatus),
                    static_cast<int>(adminStatus));
}

void DcRtmMgr::UpdateStaticRoute(unsigned short vlan, const Ip6Addr& dest, int prefixLen,
                                 const Ip6Addr& nexthop, unsigned int ifIndex,
                                 unsigned short metric, int pathType, unsigned int rowStatus,
                                 unsigned int adminStatus) {
  UpdateStaticRoute(static_cast<unsigned int>(vlan), TYPE_IPV6, dest.GetBytes(), prefixLen,
                    nexthop.GetBytes(), ifIndex, metric, pathType, static_cast<int>(rowStatus),
                    static_cast<int>(adminStatus));
}

void DcRtmMgr::UpdateRouteCallback(unsigned short vlan, int type, const unsigned char* dest,
                                   unsigned int prefixLen, const unsigned char* nexthop,
                                   unsigned int ifIndex, int metric, int pathType, int rowStatus,
                                   int adminStatus, unsigned int, unsigned int status) {
  TRACE(10, "Route Update Response from Metaswitch: vlan = %u, dest= %s/%u nexthop: %s\n", vlan,
        FormatAddress(type, dest).c_str(), prefixLen, FormatAddress(type, nexthop).c_str());
  StaticRouteItem probe(vlan, type, rowStatus, adminStatus, dest, static_cast<int>(prefixLen),
                        nexthop, ifIndex, static_cast<unsigned int>(metric), pathType, 0);
  HandleAnswer(CfgKey{vlan, ROW_TYPE_STATIC_ROUTE}, probe, rowStatus, status, ROUTE_TEXTS);
}

}  // namespace Tarsel
