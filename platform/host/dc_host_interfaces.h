// Interfaces that the host hands to the library at start-up. All are borrowed for the life of the
// process.
#ifndef HOST_DC_HOST_INTERFACES_H
#define HOST_DC_HOST_INTERFACES_H

#include "tarsel/export.h"

namespace Tarsel {

/// Answers what the protocol routers ask about IP interfaces. The library itself only keeps the
/// pointer.
class TARSEL_API DcIpInterface {
 public:
  virtual ~DcIpInterface() = default;
  /// Whether the interface exists on the VLAN and is operationally up.
  virtual bool IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const = 0;
};

/// The host's event loop, for the descriptors of the routing stack. No operation may throw. `id` is
/// the stack's own value. `mode` is the number that the callback API made of the stack's event
/// mask, one event at a time: 1 read, 2 write, 3 urgent data, 0 none for now. The order of the
/// operations is fixed.
class TARSEL_API DcSckInterface {
 public:
  virtual ~DcSckInterface() = default;
  /// Watches `fd` for the event of `mode` (never 3), and calls DcRouterMgr::SocketCallback each
  /// time it comes. A descriptor that is already watched gets the new mode.
  virtual void RegisterDescriptor(int fd, int mode, int id) = 0;
  /// Stops watching `fd`; an unknown one is ignored.
  virtual void RemoveDescriptor(int fd, int id) = 0;
  /// Watches a registered `fd` for another event; an unknown one is ignored.
  virtual void ChangeDescriptorMode(int fd, int mode) = 0;
};

/// The device's peer; announced at start-up and not used by the library.
class TARSEL_API DcQuorpInterface {
 public:
  virtual ~DcQuorpInterface() = default;
};

}  // namespace Tarsel

#endif
