#include "routers/ospf_routers.h"

#include <new>

#include "host/dc_console.h"
#include "ospf_rows.h"
#include "row_object.h"
#include "show_protocol.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::CODE_OSPF;
using routers::ConfigRowList;
using routers::OspfArea;
using routers::OspfInterface;
using routers::OSPFV2_AREAS;
using routers::OSPFV2_INTERFACES;
using routers::OSPFV3_AREAS;
using routers::OSPFV3_INTERFACES;
using routers::ProtocolView;
using routers::ShowProtocol;

namespace {

constexpr unsigned int DEFAULT_REFERENCE_BANDWIDTH = 100;  // Mbit/s

void ShowAreas(DcConsole* console, DcRouterBase& router) {
  static_cast<DcOspfRouterBase&>(router).DisplayAreas(console);
}

const ProtocolView OSPFV2_VIEW = {
    "ip",      DcRouterMgr::PROTOCOL_OSPFV2,        DcRtmMgr::PROTO_IPV4,
    CODE_OSPF, {&OSPFV2_AREAS, &OSPFV2_INTERFACES}, ShowAreas};
const ProtocolView OSPFV3_VIEW = {
    "ip6",     DcRouterMgr::PROTOCOL_OSPFV3,        DcRtmMgr::PROTO_IPV6,
    CODE_OSPF, {&OSPFV3_AREAS, &OSPFV3_INTERFACES}, ShowAreas};

// A router that never had the area would not show it.
template <class Areas>
void ForgetIfUnused(Areas& areas, typename Areas::iterator area) {
  if (!area->second.active && area->second.interfaces.empty()) {
    areas.erase(area);
  }
}

}  // namespace

DcOspfRouter::DcOspfRouter(const string& member, unsigned short vid, int ipProto,
                           DcProtoConfigBase* config)
    : DcOspfRouterBase(member, vid, config),
      m_ipProto(ipProto),
      m_routerId(0),
      m_referenceBandwidth(DEFAULT_REFERENCE_BANDWIDTH),
      m_adminUp(true) {}

DcOspfRouter::~DcOspfRouter() = default;

// Areas come first, since interfaces are in them.
bool DcOspfRouter::CreateConfigList(DcConfigLists& lists) {
  const bool isVersion2 = m_ipProto == DcRtmMgr::PROTO_IPV4;
  lists.AddList(new (std::nothrow)
                    ConfigRowList<OspfArea>(*this, isVersion2 ? OSPFV2_AREAS : OSPFV3_AREAS));
  lists.AddList(new (std::nothrow) ConfigRowList<OspfInterface>(
      *this, isVersion2 ? OSPFV2_INTERFACES : OSPFV3_INTERFACES));
  return true;
}

unsigned int DcOspfRouter::GetInstanceId() const {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(GetVlan(), m_ipProto);
}

void DcOspfRouter::ActivateArea(unsigned int areaId) { m_areas[areaId].active = true; }

void DcOspfRouter::DeactivateArea(unsigned int areaId) {
  const auto found = m_areas.find(areaId);
  if (found != m_areas.end()) {
    found->second.active = false;
    ForgetIfUnused(m_areas, found);
  }
}

bool DcOspfRouter::IsAreaActive(unsigned int areaId) const {
  const auto found = m_areas.find(areaId);
  return found != m_areas.end() && found->second.active;
}

void DcOspfRouter::AddAreaInterface(unsigned int areaId, unsigned int ifIndex) {
  m_areas[areaId].interfaces.insert(ifIndex);
}

void DcOspfRouter::RemoveAreaInterface(unsigned int areaId, unsigned int ifIndex) {
  const auto found = m_areas.find(areaId);
  if (found != m_areas.end()) {
    found->second.interfaces.erase(ifIndex);
    ForgetIfUnused(m_areas, found);
  }
}

void DcOspfRouter::SetRouterId(unsigned int routerId) { m_routerId = routerId; }
unsigned int DcOspfRouter::GetRouterId() const { return m_routerId; }
void DcOspfRouter::SetAdminStatus(bool up) { m_adminUp = up; }
bool DcOspfRouter::GetAdminStatus() const { return m_adminUp; }

void DcOspfRouter::SetReferenceBandwidth(unsigned int megabitsPerSecond) {
  m_referenceBandwidth = megabitsPerSecond;
}

void DcOspfRouter::SetPassiveInterface(unsigned int ifIndex, bool passive) {
  if (passive) {
    m_passive.insert(ifIndex);
  } else {
    m_passive.erase(ifIndex);
  }
}

void DcOspfRouter::DisplayAreas(DcConsole* console) const {
  console->Print("%s: %s, reference bandwidth %u Mbit/s, %lu passive interfaces\n",
                 GetDisplayName().c_str(), m_adminUp ? "up" : "down", m_referenceBandwidth,
                 static_cast<unsigned long>(m_passive.size()));
  for (const auto& [areaId, area] : m_areas) {
    console->Print("  area %u.%u.%u.%u: %s, %lu interfaces\n", areaId >> 24, areaId >> 16 & 255,
                   areaId >> 8 & 255, areaId & 255, area.active ? "active" : "not active",
                   static_cast<unsigned long>(area.interfaces.size()));
  }
}

DcOspfv2Router::DcOspfv2Router(unsigned short vid)
    : DcOspfRouter("OSPF", vid, DcRtmMgr::PROTO_IPV4,
                   new ProtocolInterface(*this, DcRtmMgr::PROTO_IPV4)) {}

void DcOspfv2Router::ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowProtocol(console, OSPFV2_VIEW, argc, argv);
}

DcOspfv3Router::DcOspfv3Router(unsigned short vid)
    : DcOspfRouter("OSPFV3", vid, DcRtmMgr::PROTO_IPV6, new Ospfv3Interface(*this)) {}

void DcOspfv3Router::ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowProtocol(console, OSPFV3_VIEW, argc, argv);
}

Ospfv3Interface::Ospfv3Interface(DcRouterBase& router)
    : ProtocolInterface(router, DcRtmMgr::PROTO_IPV6) {}

}  // namespace Tarsel
