// The RIP routers' protocol configurations.
#ifndef ROUTERS_RIP_INTERFACES_H
#define ROUTERS_RIP_INTERFACES_H

#include "routers/protocol_interface.h"
#include "tarsel/export.h"

namespace Tarsel {

/// RIPv2's configuration, without configuration lists.
class TARSEL_API Ripv2Interface : public ProtocolInterface {
 public:
  explicit Ripv2Interface(DcRouterBase& router);
};

/// RIPng's.
class TARSEL_API RipngInterface : public ProtocolInterface {
 public:
  explicit RipngInterface(DcRouterBase& router);
};

}  // namespace Tarsel

#endif
