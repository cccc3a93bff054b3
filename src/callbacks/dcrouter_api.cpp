// The C functions through which the routing stack calls the library. Each one finds the right
// singleton and hands on; the functions differ in whether they clear the IPv6 bit of an instance
// id, and the stack relies on each as it is.

#include "vantacore/dcrouter_api.h"

#include "tarsel/trace.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;
using Tarsel::VlanOfInstance;

namespace {

constexpr int RTM_CONFIG_FOUND = 1;
constexpr int RTM_CONFIG_UNKNOWN = 2;

// The line under which the missing primary interface is reported.
constexpr int ASSERT_LINE = 95;

unsigned short Low16(unsigned int value) { return static_cast<unsigned short>(value); }

int GetAddressOf(unsigned short vlan, const char* interfaceName, unsigned int* addr) {
  Tarsel::Ip4Addr address;
  if (!DcInterfaceMgr::GetInstance()->GetIfIpAddr(vlan, interfaceName, address)) {
    return 0;
  }
  *addr = address.GetValue();
  return 1;
}

int RegistrationMode(unsigned int mask) { return (mask & 1) != 0 ? 1 : static_cast<int>(mask & 2); }

// The first rule that matches decides. The last two rules are never reached: each of their bits has
// a rule of its own before them.
int ChangeMode(unsigned int mask) {
  static constexpr struct {
    unsigned int bits;
    int mode;
  } RULES[] = {{1, 1}, {2, 2}, {4, 3}, {6, 4}, {5, 5}};
  for (const auto& rule : RULES) {
    if ((mask & rule.bits) != 0) {
      return rule.mode;
    }
  }
  return 0;
}

}  // namespace

void cRescheduleNBase(void) {
  if (DcRouterMgr* manager = DcRouterMgr::GetInstance()) {
    manager->GetScheduler().RescheduleNBase();
  }
}

int cIsNBaseRescheduled(void) {
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return manager != nullptr && manager->GetScheduler().IsRescheduled() ? 1 : 0;
}

int cIsIpv6Instance(unsigned int id) { return (id & DcRtmMgr::IP6_INSTANCE_BIT) != 0 ? 1 : 0; }

unsigned int cGetIp4Instance(unsigned int id) {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(VlanOfInstance(id), DcRtmMgr::PROTO_IPV4);
}

unsigned int cGetIp6Instance(unsigned int id) {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(VlanOfInstance(id), DcRtmMgr::PROTO_IPV6);
}

void cSetRouteState(unsigned int id, int type, const unsigned char* destination,
                    unsigned int prefix_length, const unsigned char* next_hop,
                    unsigned int if_index, int metric, int path_type, int row_status,
                    int admin_status, unsigned int unused, unsigned int status) {
  if (DcRtmMgr* rtm = DcRtmMgr::GetInstance()) {
    rtm->UpdateRouteCallback(VlanOfInstance(id), type, destination, prefix_length, next_hop,
                             if_index, metric, path_type, row_status, admin_status, unused, status);
  }
}

void cSetRedistState(unsigned int row_status, unsigned int admin_status, unsigned int source,
                     unsigned int destination, unsigned int, unsigned int vlan, unsigned int extra,
                     unsigned int status) {
  if (DcRtmMgr* rtm = DcRtmMgr::GetInstance()) {
    rtm->UpdateRedistributionCallback(Low16(vlan), source, destination, admin_status, row_status,
                                      extra, status);
  }
}

int cIsRtmReady(unsigned int vid) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  return rtm != nullptr && rtm->IsRtmReady(Low16(vid)) ? 1 : 0;
}

void cSetRtmReady(unsigned int vid) {
  if (DcRtmMgr* rtm = DcRtmMgr::GetInstance()) {
    rtm->SetRtmReady(Low16(vid));
  }
}

int cGetRtmConfig(unsigned int vid, amb_cipr_rtm_entity* entity) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  const bool found = rtm != nullptr && entity != nullptr && rtm->GetRTMConfig(Low16(vid), entity);
  return found ? RTM_CONFIG_FOUND : RTM_CONFIG_UNKNOWN;
}

int cGetAddress(unsigned int id, unsigned int* addr) {
  if (addr == nullptr) {
    return 0;
  }
  const unsigned short vlan = VlanOfInstance(id);
  const char* name = DcInterfaceMgr::GetInstance()->GetPrimaryInterface(vlan);
  if (name == nullptr) {
    Tarsel::OnAssert("intf_name != 0", "dcrouter_api", ASSERT_LINE);
  }
  return GetAddressOf(vlan, name, addr);
}

int cGetVlanAddress(unsigned int id, unsigned int* addr) {
  return addr == nullptr ? 0 : GetAddressOf(VlanOfInstance(id), "eth0", addr);
}

int cI3Ready(void) {
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return manager == nullptr ? 0 : manager->GetSerializer().RunPendingActions();
}

void cRunPendingAction(unsigned int* key, unsigned int key_len) {
  if (key == nullptr || key_len == 0) {
    return;
  }
  if (DcRouterMgr* manager = DcRouterMgr::GetInstance()) {
    manager->GetSerializer().RunPendingAction(key, key_len);
  }
}

void cRegisterWorkWithEventloop(int fd, int id, unsigned int mask) {
  if (DcRouterMgr* manager = DcRouterMgr::GetInstance()) {
    manager->SetFiledescriptors(fd, id, RegistrationMode(mask));
  }
}

void cUnregisterWorkWithEventloop(int fd, int id) {
  if (DcRouterMgr* manager = DcRouterMgr::GetInstance()) {
    manager->RemoveFiledescriptors(fd, id);
  }
}

void cChangeMask(int fd, unsigned int mask) {
  if (DcRouterMgr* manager = DcRouterMgr::GetInstance()) {
    manager->ChangeMask(fd, ChangeMode(mask));
  }
}
