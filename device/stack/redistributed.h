// What redistribution rules hand over.
#ifndef DEVICE_STACK_REDISTRIBUTED_H
#define DEVICE_STACK_REDISTRIBUTED_H

#include "tables.h"

namespace routing_stack {

/// Finds the next installed route that a rule of the instance hands to the destination protocol:
/// the route's protocol is the rule's source, and the rule's admin status is up. The search begins
/// after the prefix of `previous`, or with the first route for a null pointer. Fills `row` and
/// returns true; returns false at the end.
bool NextRedistributed(const Tables& tables, std::uint64_t now, std::uint32_t instance,
                       std::uint32_t destination, const amb_cipr_rtm_route* previous,
                       amb_cipr_rtm_route* row);

}  // namespace routing_stack

#endif
