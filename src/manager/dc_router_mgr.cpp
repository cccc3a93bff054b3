// The router manager.
//
// Data: the VLAN table owns one record per VLAN; a record owns one router per protocol and names
// the documents that configure the VLAN. m_configVlans holds the same relation the other way round,
// from a document to its VLANs; reload.cpp keeps the two in step.
//
// Lifetimes: the manager is created on first use and stays until the process ends, and with it the
// three engines that are its members. A record lives from CreateVlan to DeleteVlan. Nothing in the
// constructor may call the stack or ask for the manager: it does not exist yet.
//
// Order: a VLAN's RTM instances are created before its routers and also deleted before them, so the
// stack drops the routing tables while the routers still exist.
//
// The other files of this folder: reload.cpp applies documents, network_events.cpp passes events
// on, protocol_commands.cpp serves the operator's `protocol` words, rip_routers.cpp has the two RIP
// routers, rooms_below.cpp answers what the folders below ask.
#include "vantacore/dc_router_mgr.h"

#include <new>

#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "routers/ospf_routers.h"
#include "src/values/mask.h"
#include "tarsel/trace.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

/// Creates one of a VLAN's routers; null if there is no memory for it.
typedef DcRouterBase* (*RouterMaker)(unsigned short vid);

// By protocol type.
const RouterMaker ROUTER_MAKERS[DcRouterMgr::PROTOCOL_COUNT] = {
    [](unsigned short vid) -> DcRouterBase* { return new (std::nothrow) DcBgpRouter(vid); },
    [](unsigned short vid) -> DcRouterBase* { return new (std::nothrow) DcOspfv2Router(vid); },
    [](unsigned short vid) -> DcRouterBase* { return new (std::nothrow) DcOspfv3Router(vid); },
    [](unsigned short vid) -> DcRouterBase* { return new (std::nothrow) DcRipv2Router(vid); },
    [](unsigned short vid) -> DcRouterBase* { return new (std::nothrow) DcRipngRouter(vid); },
    [](unsigned short vid) -> DcRouterBase* {
      return new (std::nothrow) DcMulticastRouter(vid, DcRtmMgr::PROTO_IPV4);
    },
    [](unsigned short vid) -> DcRouterBase* {
      return new (std::nothrow) DcMulticastRouter(vid, DcRtmMgr::PROTO_IPV6);
    },
};

void CreateRouters(DcRouterMgr::VlanRouters& record, unsigned short vid) {
  for (int type = 0; type < DcRouterMgr::PROTOCOL_COUNT; ++type) {
    record.routers.emplace(static_cast<DcRouterMgr::ProtocolType>(type), ROUTER_MAKERS[type](vid));
  }
}

// Whether every router could be created; the first one missing is reported.
bool AllRoutersCreated(const DcRouterMgr::VlanRouters& record) {
  for (const auto& [type, router] : record.routers) {
    if (router == nullptr) {
      TRACE(0, "Memory allocation failed for %s router\n", DcRouterMgr::RouterName(type));
      return false;
    }
  }
  return true;
}

// Deletes the routers in type order, one of each type. While a router's destructor runs, the record
// no longer has it.
void DeleteRouters(DcRouterMgr::VlanRouters& record) {
  auto& routers = record.routers;
  while (!routers.empty()) {
    const auto first = routers.begin();
    const DcRouterMgr::ProtocolType type = first->first;
    DcRouterBase* const router = first->second;
    first->second = nullptr;
    delete router;
    routers.erase(type);
  }
}

void DeleteRtmInstances(unsigned short vid) {
  DcRtmMgr* const rtm = DcRtmMgr::GetInstance();
  if (rtm != nullptr) {
    rtm->DeleteRtmConfig(vid);
  }
}

}  // namespace

DcRouterMgr* DcRouterMgr::m_instance = nullptr;

DcRouterMgr::DcRouterIteratorFunc::~DcRouterIteratorFunc() = default;

DcRouterMgr* DcRouterMgr::GetInstance() {
  if (m_instance != nullptr) {
    return m_instance;
  }
  TRACE(10, "Creating new Instance of Manager\n");
  m_instance = new (std::nothrow) DcRouterMgr;
  if (m_instance == nullptr) {
    TRACE(0, "Error in allocating DcRouterMgr\n");
  }
  return m_instance;
}

DcRouterMgr::DcRouterMgr() : m_vlanConfigKey("VLAN_CONFIGURATIONS"), m_vlanId(0) {
  g_cfgsched = &m_cfgSched;
  TRACE(10, "Creating DcRouterMgr\n");

  AddIp4RouterCmdHandler("bgp", DcBgpRouter::Ip4ConsoleCommand, "BGP4 Routing Configuration");
  AddIp4RouterCmdHandler("ospf", DcOspfv2Router::ConsoleCommand, "OSPFv2 Routing Configuration");
  AddIp4RouterCmdHandler("rip", DcRipv2Router::ConsoleCommand, "RIPv2 Routing Configuration");
  AddIp4RouterCmdHandler("protocol", ConCmdIp4Rtm, "Routing Protocol Configuration");
  AddIp4RouterCmdHandler("igmp", DcMulticastRouter::Ip4ConsoleCommand,
                         "IGMP Routing Configuration");

  AddIp6RouterCmdHandler("bgp", DcBgpRouter::Ip6ConsoleCommand, "BGP4 Routing Configuration");
  AddIp6RouterCmdHandler("rip", DcRipngRouter::ConsoleCommand, "RIPng Routing Configuration");
  // The spelling of this description is what operators' scripts have always seen.
  AddIp6RouterCmdHandler("ospf", DcOspfv3Router::ConsoleCommand, "OPSFv3 Routing Configuration");
  AddIp6RouterCmdHandler("protocol", ConCmdIp6Rtm, "Routing Protocol Configuration");
}

DcRouterMgr::~DcRouterMgr() = default;

void DcRouterMgr::Initialize(unsigned short vid, DcIpInterface* ipIf) {
  TRACE(10, "Initializing Manager\n");
  TRACE(10, "in DcRouterMgr::Initialize vlan = %d \n", vid);
  DcRouterBase::Initialize(ipIf);
  DcConsoleCommand::m_default_vlan = vid;
  SetVlanId(vid);
  m_scheduler.init();
}

void DcRouterMgr::AddIp4RouterCmdHandler(const char* name, DcRouterCmdHandler::Handler handler,
                                         const char* description) {
  m_ip4CmdHandlers.emplace(string(name), DcRouterCmdHandler(handler, description));
}

void DcRouterMgr::AddIp6RouterCmdHandler(const char* name, DcRouterCmdHandler::Handler handler,
                                         const char* description) {
  m_ip6CmdHandlers.emplace(string(name), DcRouterCmdHandler(handler, description));
}

DcRouterMgr::VlanMap::iterator DcRouterMgr::CreateVlan(unsigned short vid, OptionsNode const& node,
                                                       DclConfigObject::OptionType type) {
  TRACE(10, "Creating VLAN %u\n", vid);
  VlanRouters* const record = new VlanRouters;
  DcRtmMgr* const rtm = DcRtmMgr::GetInstance();
  if (rtm == nullptr || !rtm->UpdateRtmConfig(vid, node, type)) {
    delete record;
    return m_vlans.end();
  }
  CreateRouters(*record, vid);
  if (!AllRoutersCreated(*record)) {
    DeleteRouters(*record);
    rtm->DeleteRtmConfig(vid);
    delete record;
    return m_vlans.end();
  }
  const auto [position, inserted] = m_vlans.emplace(vid, record);
  if (!inserted) {  // the VLAN exists already and keeps its routers
    DeleteRouters(*record);
    delete record;
  }
  return position;
}

void DcRouterMgr::DeleteVlan(unsigned short vid) {
  TRACE(10, "Deleting VLAN %u\n", vid);
  const VlanMap::iterator position = m_vlans.find(vid);
  if (position == m_vlans.end()) {
    TRACE(1, "Trying to delete VLAN %u which does not exist\n", vid);
    return;
  }
  DeleteRtmInstances(vid);
  VlanRouters* const record = position->second;
  if (record != nullptr) {
    DeleteRouters(*record);
  }
  TRACE(10, "Deleting the Routers Map\n");
  m_vlans.erase(position);
  delete record;
  TRACE(10, "Deleted VLAN %u\n", vid);
}

DcRouterBase* DcRouterMgr::GetDcRouterByVID(unsigned short vid, ProtocolType type) {
  const VlanMap::const_iterator vlan = m_vlans.find(vid);
  if (vlan == m_vlans.end() || vlan->second == nullptr) {
    return nullptr;
  }
  const auto& routers = vlan->second->routers;
  const auto first = routers.lower_bound(type);
  return first != routers.end() && first->first == type ? first->second : nullptr;
}

DcRouterBase* DcRouterMgr::GetDcRouterByInstanceID(unsigned int instanceId, ProtocolType type) {
  if (type > PROTOCOL_MLD) {
    TRACE(10, "Invalid protocol type\n");
    return nullptr;
  }
  return GetDcRouterByVID(VlanOfInstance(instanceId), type);
}

void DcRouterMgr::ForEachDcRouter(DcRouterIteratorFunc* fn, ProtocolType type) {
  if (fn == nullptr) {
    return;
  }
  for (const auto& vlan : m_vlans) {
    if (vlan.second == nullptr) {
      continue;
    }
    const auto [first, last] = vlan.second->routers.equal_range(type);
    for (auto entry = first; entry != last; ++entry) {
      if (entry->second != nullptr) {
        fn->Invoke(entry->second);
      }
    }
  }
}

const char* DcRouterMgr::RouterName(ProtocolType type) {
  static const char* const rtrs[PROTOCOL_COUNT] = {"BGP4+", "OSPFv2", "OSPFv3", "RIPv2",
                                                   "RIPng", "IGMP",   "MLD"};
  return type >= 0 && type < PROTOCOL_COUNT ? rtrs[type] : "";
}

unsigned int DcRouterMgr::bitcount(Ip4Addr mask) { return CountBits(mask); }

}  // namespace Tarsel
