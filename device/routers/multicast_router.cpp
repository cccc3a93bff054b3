#include "routers/multicast_router.h"

#include <new>

#include "multicast_interface.h"
#include "multicast_row.h"
#include "row_object.h"
#include "show_protocol.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::CODE_NONE;
using routers::ConfigRowList;
using routers::IGMP_INTERFACES;
using routers::MLD_INTERFACES;
using routers::MulticastInterface;
using routers::MulticastRow;
using routers::ProtocolView;
using routers::ShowProtocol;

namespace {

void ShowJoined(DcConsole* console, DcRouterBase& router) {
  for (const unsigned int ifIndex :
       static_cast<MulticastInterface*>(router.GetInterface())->GetJoined()) {
    console->Print("  joined    %s\n",
                   DcInterfaceMgr::GetInstance()->GetIfName(router.GetVlan(), ifIndex));
  }
}

const ProtocolView IGMP_VIEW = {"ip",      DcRouterMgr::PROTOCOL_IGMP, DcRtmMgr::PROTO_IPV4,
                                CODE_NONE, {&IGMP_INTERFACES},         ShowJoined};
const ProtocolView MLD_VIEW = {"ip6",     DcRouterMgr::PROTOCOL_MLD, DcRtmMgr::PROTO_IPV6,
                               CODE_NONE, {&MLD_INTERFACES},         ShowJoined};

}  // namespace

DcMulticastRouter::DcMulticastRouter(unsigned short vid, int ipProto)
    : DcRouterBase(ipProto == DcRtmMgr::PROTO_IPV6 ? "MLD" : "IGMP", vid,
                   new MulticastInterface(*this, ipProto)),
      m_ipProto(ipProto) {}

DcMulticastRouter::~DcMulticastRouter() = default;

bool DcMulticastRouter::CreateConfigList(DcConfigLists& lists) {
  lists.AddList(new (std::nothrow) ConfigRowList<MulticastRow>(
      *this, m_ipProto == DcRtmMgr::PROTO_IPV6 ? MLD_INTERFACES : IGMP_INTERFACES));
  return true;
}

void DcMulticastRouter::AddInterface(unsigned int ifIndex) {
  static_cast<MulticastInterface*>(GetInterface())->Join(ifIndex);
}

void DcMulticastRouter::ConsoleCommand(void*, DcConsole* console, int argc, char** argv,
                                       bool ipv6) {
  ShowProtocol(console, ipv6 ? MLD_VIEW : IGMP_VIEW, argc, argv);
}

}  // namespace Tarsel
