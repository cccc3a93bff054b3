// Which interface is the primary one of each VLAN.
#ifndef DEVICE_INTENT_PRIMARY_INTERFACES_H
#define DEVICE_INTENT_PRIMARY_INTERFACES_H

#include <map>
#include <set>
#include <string>

#include "device/documents/device.h"

namespace intent {

/// Interface names by VLAN.
using Primaries = std::map<unsigned short, std::string>;

/// Returns the primary interface of a VLAN: the named one, else the first with an IPv4 address, else
/// "lo". Each VLAN needs one, because the stack asks for a new VLAN's primary interface and the
/// library asserts that there is one.
std::string ChoosePrimary(const Primaries& named, const documents::Interfaces& interfaces,
                          unsigned short vlan);

/// The same for each of `vlans` and each VLAN for which one is named.
Primaries ChoosePrimaries(const Primaries& named, const documents::Interfaces& interfaces,
                          const std::set<unsigned short>& vlans);

}  // namespace intent

#endif
