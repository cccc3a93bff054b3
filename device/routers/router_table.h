// The table that the protocols' console handlers print.
#ifndef DEVICE_ROUTERS_ROUTER_TABLE_H
#define DEVICE_ROUTERS_ROUTER_TABLE_H

#include "vantacore/dc_router_mgr.h"

namespace Tarsel {

/// Shows the routers of a protocol, one line a VLAN, or says how the command (`tree` and `argv[0]`) is
/// written when there are further words. The console stays the caller's.
void ShowRouters(DcConsole* console, const char* tree, DcRouterMgr::ProtocolType type, int argc,
                 char** argv);

}  // namespace Tarsel

#endif
