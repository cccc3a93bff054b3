// The BGP router.
#ifndef ROUTERS_BGP_ROUTER_H
#define ROUTERS_BGP_ROUTER_H

#include "tarsel/export.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

class DcConsole;

/// BGP-4 with both address families, of one VLAN; configured by the member "BGP".
class TARSEL_API DcBgpRouter : public DcRouterBase {
 public:
  /// For one VLAN; created by the router manager.
  explicit DcBgpRouter(unsigned short vid);
  ~DcBgpRouter() override;
  bool CreateConfigList(DcConfigLists& lists) override;

  /// Returns the router of a protocol instance, or null.
  static DcBgpRouter* GetRouter(unsigned int instance);
  /// Runs an operator's action on the VLAN's peers.
  void DummyConsoleCommand(unsigned short vid, int argc, char** argv);

  /// Console handler of `ip bgp`.
  static void Ip4ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
  /// Console handler of `ip6 bgp`.
  static void Ip6ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
};

}  // namespace Tarsel

#endif
