// The rows of the software stack as device/rows names them, and back.
#ifndef DEVICE_PORTS_STACK_ROWS_H
#define DEVICE_PORTS_STACK_ROWS_H

#include <array>
#include <cstdint>
#include <vector>

#include "device/rows/stack_port.h"
#include "device/stack/facts.h"

namespace ports {

using AddressBytes = std::array<unsigned char, 16>;

void Copy(const AddressBytes& from, unsigned char (&to)[16]);
AddressBytes ToAddress(const unsigned char (&from)[16]);
std::uint32_t InstanceOf(unsigned short vlan, bool ip6);
bool IsIp6(std::uint32_t instance);

/// The stack's rows of one of the device's: an interface has one in each instance of its VLAN, of
/// everything else there is one.
std::vector<routing_stack::RowName> NamesOf(const rows::Row& row);
rows::Row RowOf(const routing_stack::RowName& name);

rows::StackInstance ToInstance(const routing_stack::InstanceEntry& entry);
rows::StackRoute ToRoute(const routing_stack::StaticRoute& route);
documents::RouteTarget ToTarget(const amb_cipr_rtm_route& route);
rows::RuleRow ToRule(const routing_stack::RedistributionRow& row);

// Keys, for questions: only what makes the key is filled in.

routing_stack::InstanceEntry KeyOf(const rows::InstanceRow& row);
amb_stubs_i3_ea KeyOf(const rows::AddressRow& row);
routing_stack::StaticRoute KeyOf(const documents::RouteTarget& target, std::uint32_t ifIndex);
routing_stack::RedistributionRow KeyOf(const rows::RuleRow& row);

}  // namespace ports

#endif
