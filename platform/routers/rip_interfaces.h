// The RIP routers' protocol configurations.
#ifndef ROUTERS_RIP_INTERFACES_H
#define ROUTERS_RIP_INTERFACES_H

#include "routers/protocol_interface.h"
#include "tarsel/export.h"

namespace Tarsel {

/// RIPv2's configuration. The routers of both RIP versions have no lists, so their configurations
/// keep the rows of "IF_LIST" themselves.
class TARSEL_API Ripv2Interface : public ProtocolInterface {
 public:
  /// Keeps the reference only: the router is still being built.
  explicit Ripv2Interface(DcRouterBase& router);

 protected:
  DCLConfigList* CreateRows() override;
};

/// RIPng's configuration.
class TARSEL_API RipngInterface : public ProtocolInterface {
 public:
  /// Keeps the reference only: the router is still being built.
  explicit RipngInterface(DcRouterBase& router);

 protected:
  DCLConfigList* CreateRows() override;
};

}  // namespace Tarsel

#endif
