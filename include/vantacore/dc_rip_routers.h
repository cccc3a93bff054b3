// The RIP routers. They add no configuration lists: the protocol's configuration object keeps the
// rows.
#ifndef VANTACORE_DC_RIP_ROUTERS_H
#define VANTACORE_DC_RIP_ROUTERS_H

#include "vantacore/dc_router_base.h"
#include "vantacore/export.h"

namespace Tarsel {

class DcConsole;

/// RIPv2 of one VLAN, configured by the member "RIPV2".
class VANTACORE_API DcRipv2Router : public DcRouterBase {
 public:
  /// For one VLAN; created by the router manager.
  explicit DcRipv2Router(unsigned short vid);
  bool CreateConfigList(DcConfigLists& lists) override;

  /// The console handler of `ip rip`; supplied by the protocol routers' library.
  static void ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
};

/// RIPng of one VLAN, configured by the member "RIPNG".
class VANTACORE_API DcRipngRouter : public DcRouterBase {
 public:
  /// For one VLAN; created by the router manager.
  explicit DcRipngRouter(unsigned short vid);
  bool CreateConfigList(DcConfigLists& lists) override;

  /// RIPng offers no console commands: this does nothing, and the console stays the caller's.
  static void ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
};

}  // namespace Tarsel

#endif
