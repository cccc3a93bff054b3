// The protocol that routes are handed to, as far as a redistribution rule asks for it.
#ifndef VANTACORE_SRC_RTM_REDISTRIBUTION_DESTINATION_H
#define VANTACORE_SRC_RTM_REDISTRIBUTION_DESTINATION_H

#include <cstdint>

namespace Tarsel {

/// Whether the VLAN's router for a destination (one of the stack's protocol codes) takes routes
/// now: it exists, is enabled and is ready. The router manager knows the routers and is above this
/// folder, so src/manager/rooms_below.cpp defines this function.
bool IsDestinationReady(unsigned short vlan, std::int32_t destination, bool isIp6);

}  // namespace Tarsel

#endif
