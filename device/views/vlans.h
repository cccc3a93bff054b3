// The VLANs that views tell of.
#ifndef DEVICE_VIEWS_VLANS_H
#define DEVICE_VIEWS_VLANS_H

#include <optional>

#include "device/keepers/interfaces.h"

namespace views {

/// Whether the library has the VLAN.
bool IsVlanThere(unsigned int vlan);

/// The first VLAN after `last`, or the very first for nothing, that the library or an interface has:
/// the stack has interfaces of VLANs that are not there as well.
std::optional<unsigned short> FindNextVlan(const keepers::Interfaces& interfaces,
                                           const std::optional<unsigned short>& last);

}  // namespace views

#endif
