// What redistribution rules hand over.
#ifndef DEVICE_STACK_REDISTRIBUTED_H
#define DEVICE_STACK_REDISTRIBUTED_H

#include "tables.h"

namespace routing_stack {

/// The installed route after `previous` (the first one for a null pointer; its prefix alone counts)
/// whose protocol is the source of a rule of the instance for the destination protocol, the rule's
/// admin status being up. False at the end.
bool NextRedistributed(const Tables& tables, std::uint64_t now, std::uint32_t instance,
                       std::uint32_t destination, const amb_cipr_rtm_route* previous,
                       amb_cipr_rtm_route* row);

}  // namespace routing_stack

#endif
