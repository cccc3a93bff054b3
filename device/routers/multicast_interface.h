// The multicast routers' configuration and the interfaces that remotes have joined on.
#ifndef DEVICE_ROUTERS_MULTICAST_INTERFACE_H
#define DEVICE_ROUTERS_MULTICAST_INTERFACE_H

#include <set>

#include "routers/protocol_interface.h"

namespace routers {

class MulticastInterface : public Tarsel::ProtocolInterface {
 public:
  using Tarsel::ProtocolInterface::ProtocolInterface;

  void Join(unsigned int ifIndex) { m_joined.insert(ifIndex); }
  /// A remote joins the VLAN's network as a whole, so a joined interface receives every group.
  const std::set<unsigned int>& GetJoined() const { return m_joined; }

 private:
  std::set<unsigned int> m_joined;
};

}  // namespace routers

#endif
