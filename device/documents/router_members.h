// The members of a VLAN's entry that configure the library's routers.
#ifndef DEVICE_DOCUMENTS_ROUTER_MEMBERS_H
#define DEVICE_DOCUMENTS_ROUTER_MEMBERS_H

#include <cstring>

#include "vantacore/dc_router_mgr.h"

namespace documents {

struct RouterMember {
  const char* name;
  Tarsel::DcRouterMgr::ProtocolType router;
};

/// One for each router of a VLAN.
inline constexpr RouterMember ROUTER_MEMBERS[] = {
    {"BGP", Tarsel::DcRouterMgr::PROTOCOL_BGP},
    {"OSPF", Tarsel::DcRouterMgr::PROTOCOL_OSPFV2},
    {"OSPFV3", Tarsel::DcRouterMgr::PROTOCOL_OSPFV3},
    {"RIPV2", Tarsel::DcRouterMgr::PROTOCOL_RIPV2},
    {"RIPNG", Tarsel::DcRouterMgr::PROTOCOL_RIPNG},
    {"IGMP", Tarsel::DcRouterMgr::PROTOCOL_IGMP},
    {"MLD", Tarsel::DcRouterMgr::PROTOCOL_MLD},
};
static_assert(sizeof ROUTER_MEMBERS / sizeof ROUTER_MEMBERS[0] ==
              Tarsel::DcRouterMgr::PROTOCOL_COUNT);

/// The router's bit in the values of ProtocolSets.
constexpr unsigned int BitOf(Tarsel::DcRouterMgr::ProtocolType router) {
  return 1u << static_cast<unsigned int>(router);
}

/// The same by the member's name; 0 for another member.
inline unsigned int ProtocolBit(const char* name) {
  for (const RouterMember& member : ROUTER_MEMBERS) {
    if (std::strcmp(member.name, name) == 0) {
      return BitOf(member.router);
    }
  }
  return 0;
}

}  // namespace documents

#endif
