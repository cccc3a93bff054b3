// What `explain` tells of connected routes besides what the stack has.
#ifndef DEVICE_VIEWS_CONNECTED_H
#define DEVICE_VIEWS_CONNECTED_H

#include <optional>
#include <string>

#include "sources.h"

namespace views {

/// The longest prefix of an address of the VLAN's interfaces that holds the address, whether the
/// stack has a route for it or not.
std::optional<Prefix> FindLongestConnected(const keepers::Interfaces& interfaces,
                                           unsigned short vlan, const Address& address);

/// Why the address makes no route: "eth1 is down", "the address is refused: wrong value (status 3)".
/// Empty if nothing is known to be wrong.
std::string DescribeTrouble(const Sources& sources, const rows::AddressRow& row);

}  // namespace views

#endif
