// RIP's rows. Configuration lists compare them with a document, as for other routers; these lists
// are the protocol configuration's, and the router does not know them.
#include "routers/rip_interfaces.h"

#include <new>

#include "rip_row.h"
#include "row_object.h"
#include "show_protocol.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::CODE_RIP;
using routers::ConfigRowList;
using routers::ProtocolView;
using routers::RIPNG_INTERFACES;
using routers::RipRow;
using routers::RIPV2_INTERFACES;
using routers::ShowProtocol;

namespace {

const ProtocolView RIPV2_VIEW = {"ip",     DcRouterMgr::PROTOCOL_RIPV2, DcRtmMgr::PROTO_IPV4,
                                 CODE_RIP, {&RIPV2_INTERFACES},         nullptr};

}  // namespace

Ripv2Interface::Ripv2Interface(DcRouterBase& router)
    : ProtocolInterface(router, DcRtmMgr::PROTO_IPV4) {}

DCLConfigList* Ripv2Interface::CreateRows() {
  return new (std::nothrow) ConfigRowList<RipRow>(GetRouter(), RIPV2_INTERFACES);
}

RipngInterface::RipngInterface(DcRouterBase& router)
    : ProtocolInterface(router, DcRtmMgr::PROTO_IPV6) {}

DCLConfigList* RipngInterface::CreateRows() {
  return new (std::nothrow) ConfigRowList<RipRow>(GetRouter(), RIPNG_INTERFACES);
}

void DcRipv2Router::ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowProtocol(console, RIPV2_VIEW, argc, argv);
}

}  // namespace Tarsel
