// What the folders below ask of the router manager. Each declares the function with its own code;
// it is defined here.
#include "src/interfaces/address_events.h"
#include "src/pipeline/queues.h"
#include "src/rtm/redistribution_destination.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"

namespace Tarsel {

namespace {

DcRouterMgr::ProtocolType DestinationRouter(std::int32_t destination, bool isIp6) {
  switch (destination) {
    case PROTOCOL_CODE_OSPF:
      return isIp6 ? DcRouterMgr::PROTOCOL_OSPFV3 : DcRouterMgr::PROTOCOL_OSPFV2;
    case PROTOCOL_CODE_RIP:
      return isIp6 ? DcRouterMgr::PROTOCOL_RIPNG : DcRouterMgr::PROTOCOL_RIPV2;
    default:
      return DcRouterMgr::PROTOCOL_BGP;
  }
}

}  // namespace

Serializer* CurrentSerializer() {
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  return manager == nullptr ? nullptr : &manager->GetSerializer();
}

CfgSched* CurrentCfgSched() {
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  return manager == nullptr ? nullptr : &manager->GetCfgSched();
}

void TellAddressChange(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& address) {
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  if (manager != nullptr) {
    manager->ProcessIPAddressChange(vlan, ifIndex, address);
  }
}

bool IsDestinationReady(unsigned short vlan, std::int32_t destination, bool isIp6) {
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  // An instance may be ready without its VLAN: the stack can announce one that nobody created.
  const DcRouterBase* const router =
      manager == nullptr ? nullptr
                         : manager->GetDcRouterByVID(vlan, DestinationRouter(destination, isIp6));
  return router != nullptr && router->IsReady();
}

}  // namespace Tarsel
