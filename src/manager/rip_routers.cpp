// The RIP routers. They are here and not with the router base because only the manager knows the
// protocol configurations of the protocol routers' library.
#include <new>

#include "routers/rip_interfaces.h"
#include "vantacore/dc_rip_routers.h"

namespace Tarsel {

DcRipv2Router::DcRipv2Router(unsigned short vid)
    : DcRouterBase("RIPV2", vid, new (std::nothrow) Ripv2Interface(*this)) {}

bool DcRipv2Router::CreateConfigList(DcConfigLists&) { return true; }

DcRipngRouter::DcRipngRouter(unsigned short vid)
    : DcRouterBase("RIPNG", vid, new (std::nothrow) RipngInterface(*this)) {}

bool DcRipngRouter::CreateConfigList(DcConfigLists&) { return true; }

void DcRipngRouter::ConsoleCommand(void*, DcConsole*, int, char**) {}

}  // namespace Tarsel
