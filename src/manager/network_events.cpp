// Events from the host to the routers, and the stack's descriptors and traces.
#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "stack/sms.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

// The VLAN's IGMP router; traces why there is none.
DcMulticastRouter* FindIgmpRouter(DcRouterMgr& manager, unsigned short vid) {
  if (manager.GetVlans().count(vid) == 0) {
    TRACE("Connected remote to inet with VLAN %u before loading VLAN options... Skipping\n", vid);
    return nullptr;
  }
  DcRouterBase* const router = manager.GetDcRouterByVID(vid, DcRouterMgr::PROTOCOL_IGMP);
  if (router == nullptr) {
    TRACE("Cannot find IGMP router\n");
  }
  return static_cast<DcMulticastRouter*>(router);
}

}  // namespace

void DcRouterMgr::ProcessInterfaceStatusChange(unsigned short vid, unsigned int ifIndex,
                                               unsigned short status) {
  TRACE(10, "Updating Interface Status of Interface %u\n", ifIndex);
  const VlanMap::const_iterator vlan = m_vlans.find(vid);
  if (vlan == m_vlans.end()) {
    return;
  }
  for (const auto& entry : vlan->second->routers) {
    if (entry.second != nullptr) {
      entry.second->ProcessInterfaceStatusChange(ifIndex, status);
    }
  }
}

void DcRouterMgr::ProcessIPAddressChange(unsigned short vid, unsigned int ifIndex,
                                         Ip4Addr const& addr) {
  TRACE(10, "Updating IP Address Change to Interface %u\n", ifIndex);
  const VlanMap::const_iterator vlan = m_vlans.find(vid);
  if (vlan == m_vlans.end()) {
    return;
  }
  for (const auto& entry : vlan->second->routers) {
    if (entry.second != nullptr) {
      entry.second->ProcessIPAddressChange(ifIndex, addr);
    }
  }
}

void DcRouterMgr::JoinNetwork(unsigned short vid, unsigned int ifIndex) {
  DcMulticastRouter* const router = FindIgmpRouter(*this, vid);
  if (router != nullptr && router->IsEnabled()) {
    router->AddInterface(ifIndex);
  }
}

// A remote that leaves may not be the last one on its interface, so the interface stays. The router
// is still asked whether it is enabled, as it is for a join; nothing depends on the answer.
void DcRouterMgr::LeaveNetwork(unsigned short vid, unsigned int) {
  const DcMulticastRouter* const router = FindIgmpRouter(*this, vid);
  if (router != nullptr) {
    router->IsEnabled();
  }
}

void DcRouterMgr::SckInterfaceInitialize(DcSckInterface* sck) {
  TRACE(10, "Initializing SckDescriptor\n");
  DcRouterBase::SocketInitialize(sck);
}

void DcRouterMgr::QuorpInterfaceInitialize(DcQuorpInterface*) {
  TRACE(10, "Initializing quorpinterface \n");
}

// Mind the order: the router base takes the mode before the id.
void DcRouterMgr::SetFiledescriptors(int fd, int id, int mode) {
  DcRouterBase::SetSckDescriptor(fd, mode, id);
}

void DcRouterMgr::RemoveFiledescriptors(int fd, int id) {
  DcRouterBase::RemoveSckDescriptor(fd, id);
}

void DcRouterMgr::ChangeMask(int fd, int mode) { DcRouterBase::ChangeWorkMask(fd, mode); }

void DcRouterMgr::SocketCallback(int fd, int events) { InvokeCallback(fd, events); }

// The stack counts its failures from zero for each trace call.

void DcRouterMgr::TripsControl(bool on) {
  nbb_os_failures = 0;
  nbb_trips_control(on ? 1 : 0);
}

void DcRouterMgr::SetIPSFilter(char* filter, unsigned short value) {
  nbb_os_failures = 0;
  nbb_set_ips_filter(filter, value);
}

bool DcRouterMgr::GetIPSTracing() const {
  nbb_os_failures = 0;
  return nbb_get_ips_tracing() != 0;
}

void DcRouterMgr::BgpPeerAct(unsigned int vid, int argc, char** argv) {
  const unsigned short vlan = static_cast<unsigned short>(vid);
  DcBgpRouter* const router = DcBgpRouter::GetRouter(
      DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV4));
  if (router != nullptr) {
    router->DummyConsoleCommand(vlan, argc, argv);
  }
}

}  // namespace Tarsel
