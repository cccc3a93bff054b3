// RIP's rows. The diff against a document is that of the configuration lists, which serve here without
// being the router's: the router does not know of them.
#include "routers/rip_interfaces.h"

#include <new>
#include <tuple>

#include "rip_row.h"
#include "row_object.h"
#include "show_protocol.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

constexpr unsigned int MAX_COST = 15;  // 16 is unreachable

const ProtocolView IP4_VIEW = {"ip",     DcRouterMgr::PROTOCOL_RIPV2, DcRtmMgr::PROTO_IPV4,
                               CODE_RIP, {&RIPV2_INTERFACES},         nullptr};

}  // namespace

void RipRow::Read(GroupReader& reader) {
  reader.ReadNumber("cost", cost, 1, MAX_COST);
  reader.ReadFlag("passive", passive);
  reader.ReadFlag("enabled", enabled);
}

string RipRow::GetContents() const {
  string text;
  text.Format("cost=%u%s", cost, passive ? " passive" : "");
  return text;
}

bool operator==(const RipRow& a, const RipRow& b) {
  return std::tie(a.cost, a.passive, a.enabled) == std::tie(b.cost, b.passive, b.enabled);
}

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
  ShowProtocol(console, IP4_VIEW, argc, argv);
}

}  // namespace Tarsel
