#include "routers/multicast_router.h"

#include "multicast_interface.h"
#include "router_table.h"

namespace Tarsel {

DcMulticastRouter::DcMulticastRouter(unsigned short vid, int ipProto)
    : DcRouterBase(ipProto == 41 ? "MLD" : "IGMP", vid, new MulticastInterface(*this, ipProto)) {}

DcMulticastRouter::~DcMulticastRouter() = default;

bool DcMulticastRouter::CreateConfigList(DcConfigLists&) { return true; }

void DcMulticastRouter::AddInterface(unsigned int ifIndex) {
  static_cast<MulticastInterface*>(GetInterface())->Join(ifIndex);
}

void DcMulticastRouter::ConsoleCommand(void*, DcConsole* console, int argc, char** argv,
                                       bool ipv6) {
  ShowRouters(console, ipv6 ? "ip6" : "ip",
              ipv6 ? DcRouterMgr::PROTOCOL_MLD : DcRouterMgr::PROTOCOL_IGMP, argc, argv);
}

}  // namespace Tarsel
