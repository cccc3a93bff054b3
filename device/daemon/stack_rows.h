// The rows of the software stack as apply names them, and back.
#ifndef DEVICE_DAEMON_STACK_ROWS_H
#define DEVICE_DAEMON_STACK_ROWS_H

#include <vector>

#include "device/apply/stack_port.h"
#include "device/stack/facts.h"

namespace vantacored {

/// The stack's rows of one of apply's: an interface has one in each instance of its VLAN, of
/// everything else there is one.
std::vector<routing_stack::RowName> NamesOf(const apply::Row& row);
apply::Row RowOf(const routing_stack::RowName& name);

apply::StackInstance ToInstance(const routing_stack::InstanceEntry& entry);
apply::StackRoute ToRoute(const routing_stack::StaticRoute& route);
apply::RuleRow ToRule(const routing_stack::RedistributionRow& row);

// Keys, for questions: only what makes the key is filled in.

routing_stack::InstanceEntry KeyOf(const apply::InstanceRow& row);
amb_stubs_i3_ea KeyOf(const apply::AddressRow& row);
routing_stack::StaticRoute KeyOf(const documents::RouteTarget& target, std::uint32_t ifIndex);
routing_stack::RedistributionRow KeyOf(const apply::RuleRow& row);

}  // namespace vantacored

#endif
