#include "router_table.h"
#include "vantacore/dc_rip_routers.h"

namespace Tarsel {

void DcRipv2Router::ConsoleCommand(void*, DcConsole* console, int argc, char** argv) {
  ShowRouters(console, "ip", DcRouterMgr::PROTOCOL_RIPV2, argc, argv);
}

}  // namespace Tarsel
