// The parts of the walk: each compares one kind of thing in one VLAN.
#ifndef DEVICE_PLAN_COMPARISONS_H
#define DEVICE_PLAN_COMPARISONS_H

#include "change.h"
#include "device/documents/members.h"
#include "sides.h"

namespace plan {

/// Whether the VLAN exists, and its settings. Two requests: an instance for each family.
void CompareVlan(const VlanPair& pair, Teller& teller);

/// The interfaces that the registry has under the VLAN, each with its addresses. The requests are
/// those of intent::PlanInterfaces: two for an interface, because each family's instance has a row
/// of it, one for an address, two for another IPv4 address.
void CompareInterfaces(const VlanPair& pair, Teller& teller);

/// The protocols of the VLAN that run, what their own members say, and their rows: one request for
/// each. The rows of a VLAN that leaves go with its instances, without a request. `entry` is the
/// shape of a VLAN's entry.
void CompareProtocols(const VlanPair& pair, const documents::Object& entry, Teller& teller);

/// The static routes: one request for a route that comes, goes or gets another metric, two for one
/// whose interface gets another index, none for one that waits for its interface.
void CompareRoutes(const VlanPair& pair, Teller& teller);

/// The redistribution rules: one request for each.
void CompareRules(const VlanPair& pair, Teller& teller);

}  // namespace plan

#endif
