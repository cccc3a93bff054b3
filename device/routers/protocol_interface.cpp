// The protocol routers of the software device carry their configuration; they run no protocol.
//
// A router is built by the router manager, one per protocol and VLAN, together with its protocol
// configuration, which it owns. The configuration keeps what each document said, so that withdrawing
// one leaves the others' word standing, and what the host reported about interfaces. Readiness is
// never stored: it is asked of the RTM manager, since the stack announces it there.
#include "routers/protocol_interface.h"

#include <algorithm>

#include "host/dc_console.h"
#include "routers/ospf_routers.h"
#include "routers/rip_interfaces.h"
#include "tarsel/trace.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

constexpr unsigned int STATUS_UP = 1;

// A protocol that is named is meant to run; "enabled" is there to switch it off without taking its
// configuration out of the document.
bool ReadEnabled(const OptionsNode& node, const string& displayName, const string& source) {
  if (!node.IsObject()) {
    TRACE("%s: %s: the protocol's options must be an object\n", source.c_str(),
          displayName.c_str());
    return false;
  }
  if (node.GetChildNode("enabled").IsNull()) {
    return true;
  }
  bool enabled = false;
  if (!node.AsVal(enabled, "enabled")) {
    TRACE("%s: %s: \"enabled\" must be true or false\n", source.c_str(), displayName.c_str());
  }
  return enabled;
}

const char* YesNo(bool value) { return value ? "Yes" : "No"; }

}  // namespace

ProtocolInterface::ProtocolInterface(DcRouterBase& router, int ipProto)
    : m_router(router), m_ipProto(ipProto) {}

ProtocolInterface::~ProtocolInterface() = default;

void ProtocolInterface::ParseOptions(const OptionsNode& node, const string& name,
                                     DclConfigObject::OptionType) {
  m_enabledBy[name] = ReadEnabled(node, m_router.GetDisplayName(), name);
}

void ProtocolInterface::DeleteOptions(const string& name, DclConfigObject::OptionType) {
  m_enabledBy.erase(name);
}

bool ProtocolInterface::IsEnabled() {
  return std::any_of(m_enabledBy.begin(), m_enabledBy.end(),
                     [](const auto& source) { return source.second; });
}

void ProtocolInterface::Display(DcConsole* console) {
  const auto up = std::count_if(m_interfaces.begin(), m_interfaces.end(),
                                [](const auto& entry) { return entry.second.up; });
  console->Print("%6u %8s %6s %8lu of %lu\n", static_cast<unsigned int>(m_router.GetVlan()),
                 YesNo(IsEnabled()), YesNo(IsReady()), static_cast<unsigned long>(up),
                 static_cast<unsigned long>(m_interfaces.size()));
}

bool ProtocolInterface::IsReady() {
  const DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  return rtm && IsEnabled() &&
         rtm->IsRtmReady(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(m_router.GetVlan(), m_ipProto));
}

bool ProtocolInterface::IsReady(unsigned int ifIndex) {
  const auto found = m_interfaces.find(ifIndex);
  return found != m_interfaces.end() && found->second.up && IsEnabled();
}

void ProtocolInterface::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) {
  const bool up = status == STATUS_UP;
  m_interfaces[ifIndex].up = up;
  m_router.SetInterfaceStatus(ifIndex, up ? IF_READY : IF_NOT_READY);
}

void ProtocolInterface::ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) {
  m_interfaces[ifIndex].address = address;
}

Ospfv3Interface::Ospfv3Interface(DcRouterBase& router) : ProtocolInterface(router, 41) {}
Ripv2Interface::Ripv2Interface(DcRouterBase& router) : ProtocolInterface(router, 0) {}
RipngInterface::RipngInterface(DcRouterBase& router) : ProtocolInterface(router, 41) {}

}  // namespace Tarsel
