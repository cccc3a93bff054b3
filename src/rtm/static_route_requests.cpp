// Static routes and redistribution rules: the requests and the stack's answers.
//
// A request becomes an item of the configuration scheduler, which sends it once the VLAN's RTM
// instance is ready. The stack answers with the row's values and a status; an item of the same
// values names the row, and the scheduler then drops its own item, sends it again later, or leaves
// it Issued for good. Routes of both families of a VLAN share one bucket of the scheduler.

#include <new>

#include "tarsel/trace.h"
#include "vantacore/cfg_items.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

constexpr int TYPE_IPV4 = 1;
constexpr int TYPE_IPV6 = 2;

constexpr int ROW_ACTIVE = 1;
constexpr int ROW_DESTROY = 6;
constexpr unsigned int ADMIN_UP = 1;
constexpr unsigned int ADMIN_DOWN = 2;

constexpr unsigned int STATUS_DONE = 1;
constexpr unsigned int STATUS_RETRY = 5;
constexpr unsigned int STATUS_GONE = 6;

struct OutcomeTexts {
  const char* done;
  const char* retry;
  const char* giveUp;
};
constexpr OutcomeTexts ROUTE_TEXTS = {"Route Programmed Successfully\n",
                                      "Route Not programmed!!! Retrying...\n",
                                      "Unable to set route. No retry!!!\n"};
constexpr OutcomeTexts REDISTRIBUTION_TEXTS = {"Redistribution Request Success\n",
                                               "Redistribution Request Not success!! Retrying...\n",
                                               "Unable to set redistribution. No retry!!!\n"};

// The scheduler, or null while there is no router manager.
CfgSched* GetScheduler() {
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return manager == nullptr ? nullptr : &manager->GetCfgSched();
}

void InsertItem(const CfgKey& key, CfgItem* item) {
  CfgSched* scheduler = GetScheduler();
  if (scheduler == nullptr) {
    delete item;
    return;
  }
  scheduler->Insert(key, item);
}

void HandleAnswer(const CfgKey& key, CfgItem& probe, int rowStatus, unsigned int status,
                  const OutcomeTexts& texts) {
  const bool destroy = rowStatus == ROW_DESTROY;
  const bool done = status == STATUS_DONE || (status == STATUS_GONE && destroy);
  const bool retry = status == STATUS_RETRY || destroy;
  // The log tells the outcome first: asking for the scheduler may create the manager, or fail.
  TRACE(10, "%s", done ? texts.done : retry ? texts.retry : texts.giveUp);
  CfgSched* scheduler = GetScheduler();
  if (scheduler == nullptr) {
    return;
  }
  if (done) {
    scheduler->Remove(key, &probe, status);
  } else {
    scheduler->Update(key, &probe, status, retry);
  }
}

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

void DcRtmMgr::Redistribute(unsigned int rowStatus, unsigned int adminStatus, unsigned int source,
                            unsigned int destination, unsigned short vlan) {
  auto* item = new (std::nothrow)
      RouteRedistributeItem(static_cast<int>(rowStatus), static_cast<int>(adminStatus),
                            static_cast<int>(source), static_cast<int>(destination), 0, vlan, 0);
  if (item == nullptr) {
    TRACE(1, "Error in allocating Redistribution Item\n");
    return;
  }
  InsertItem(CfgKey{vlan, ROW_TYPE_REDISTRIBUTION}, item);
}

void DcRtmMgr::HandleRedistributionStatusChange(unsigned short vlan, unsigned int source,
                                                unsigned int destination, bool wasEnabled,
                                                bool isEnabled) {
  if (wasEnabled == isEnabled) {
    return;
  }
  if (isEnabled) {
    Redistribute(ROW_ACTIVE, ADMIN_UP, source, destination, vlan);
  } else {
    Redistribute(ROW_DESTROY, ADMIN_DOWN, source, destination, vlan);
  }
}

void DcRtmMgr::UpdateRedistributionCallback(unsigned short vlan, unsigned int source,
                                            unsigned int destination, unsigned int adminStatus,
                                            unsigned int rowStatus, unsigned int extra,
                                            unsigned int status) {
  TRACE(10, "Redistribution Response from Metaswitch: vlan=%u src=%u dst=%u status=%u\n", vlan,
        source, destination, rowStatus);
  RouteRedistributeItem probe(static_cast<int>(rowStatus), static_cast<int>(adminStatus),
                              static_cast<int>(source), static_cast<int>(destination), 0, vlan,
                              extra);
  HandleAnswer(CfgKey{vlan, ROW_TYPE_REDISTRIBUTION}, probe, static_cast<int>(rowStatus), status,
               REDISTRIBUTION_TEXTS);
}

}  // namespace Tarsel
