#include "routers/bgp_router.h"

#include <new>

#include "bgp_peer.h"
#include "routers/protocol_interface.h"
#include "row_object.h"
#include "show_protocol.h"
#include "tarsel/trace.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::BGP_PEERS;
using routers::BgpPeer;
using routers::CODE_BGP;
using routers::ConfigRowList;
using routers::ProtocolView;
using routers::ShowProtocol;

namespace {

const ProtocolView BGP_IP4 = {
    "ip", DcRouterMgr::PROTOCOL_BGP, DcRtmMgr::PROTO_IPV4, CODE_BGP, {&BGP_PEERS}, nullptr};
const ProtocolView BGP_IP6 = {
    "ip6", DcRouterMgr::PROTOCOL_BGP, DcRtmMgr::PROTO_IPV6, CODE_BGP, {&BGP_PEERS}, nullptr};

}  // namespace

// One router serves both families; it is ready with the VLAN's IPv4 instance.
DcBgpRouter::DcBgpRouter(unsigned short vid)
    : DcRouterBase("BGP", vid, new ProtocolInterface(*this, DcRtmMgr::PROTO_IPV4)) {}

DcBgpRouter::~DcBgpRouter() = default;

bool DcBgpRouter::CreateConfigList(DcConfigLists& lists) {
  lists.AddList(new (std::nothrow) ConfigRowList<BgpPeer>(*this, BGP_PEERS));
  return true;
}

DcBgpRouter* DcBgpRouter::GetRouter(unsigned int instance) {
  return static_cast<DcBgpRouter*>(
      DcRouterMgr::GetInstance()->GetDcRouterByInstanceID(instance, DcRouterMgr::PROTOCOL_BGP));
}

// There are no sessions to act on; the log says what was asked.
void DcBgpRouter::DummyConsoleCommand(unsigned short vid, int argc, char** argv) {
  string words;
  for (int i = 0; i < argc; ++i) {
    words.AppendFmt(" %s", argv[i]);
  }
  TRACE(1, "BGP:%u runs no sessions, nothing done for:%s\n", static_cast<unsigned int>(vid),
        words.c_str());
}

void DcBgpRouter::Ip4ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowProtocol(console, BGP_IP4, argc, argv);
}

void DcBgpRouter::Ip6ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowProtocol(console, BGP_IP6, argc, argv);
}

}  // namespace Tarsel
