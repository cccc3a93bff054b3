// What the registry tells of addresses.
#ifndef VANTACORE_SRC_INTERFACES_ADDRESS_EVENTS_H
#define VANTACORE_SRC_INTERFACES_ADDRESS_EVENTS_H

#include "tarsel/address.h"

namespace Tarsel {

/// An interface has another IPv4 address: each router of the VLAN is told. The router manager owns
/// the routers and is above this folder, so src/manager/rooms_below.cpp
/// defines this function.
void TellAddressChange(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& address);

}  // namespace Tarsel

#endif
