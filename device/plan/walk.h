// The walk from one configuration to another.
#ifndef DEVICE_PLAN_WALK_H
#define DEVICE_PLAN_WALK_H

#include "change.h"

namespace plan {

/// Tells the visitor of each difference: those of the device, then those of each VLAN in the order
/// of their numbers. Returns false if the visitor has ended it.
bool Walk(const intent::Intent& now, const intent::Intent& then, Visitor& visitor);

}  // namespace plan

#endif
