// Protocol instances as numbers.
#ifndef VANTACORE_SRC_VALUES_INSTANCE_H
#define VANTACORE_SRC_VALUES_INSTANCE_H

namespace Tarsel {

/// Set in the protocol instance id of a VLAN's IPv6 side; the IPv4 side's id is the VLAN id itself.
constexpr unsigned short IP6_INSTANCE = 0x8000;

/// The protocol instance id of a VLAN's IPv4 or IPv6 side.
constexpr unsigned short InstanceOfVlan(unsigned short vlan, bool isIp6) {
  return isIp6 ? static_cast<unsigned short>(vlan | IP6_INSTANCE) : vlan;
}

}  // namespace Tarsel

#endif
