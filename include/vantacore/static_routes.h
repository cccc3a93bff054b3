// Static routes for the other components of the host process, without knowing the RTM manager.
#ifndef VANTACORE_STATIC_ROUTES_H
#define VANTACORE_STATIC_ROUTES_H

#include "tarsel/address.h"
#include "vantacore/export.h"

namespace Tarsel {

// Each function queues one request for the VLAN's routing table. IPv4: the prefix length is the
// number of one bits of `mask`. IPv6: adding a route uses the prefix's own address and ignores
// `address`; the other functions use `address` and only the length of `prefix`, so they name the
// added row when `address` is the prefix's address. `ifIndex` 0 leaves the interface to the stack;
// it is part of the row's name. A request replaces a pending one for the same row: enabling or
// disabling a route whose addition is still pending loses its metric and type.
//
// Nothing is checked: host bits of a destination go to the stack as they are, and a route of a VLAN
// that does not exist waits among the pending actions until the VLAN is created. The outcome is not
// reported: a request that is refused stays among the pending actions. Without memory a request is
// not queued, which is traced.

/// Always 1. `metric` is cut to 16 bits; a static route has type 0x30000; admin status 1 up, 2
/// down.
VANTACORE_API int AddRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                           const Ip4Addr& gateway, unsigned int ifIndex, unsigned int metric,
                           long type, long adminStatus);
/// The same for an IPv6 route.
VANTACORE_API int AddRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                           const Ip6Addr& gateway, unsigned int ifIndex, unsigned int metric,
                           long type, long adminStatus);
/// Asks for the route's removal; it is queued whether or not the route is known.
VANTACORE_API void RemoveRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                               const Ip4Addr& gateway, unsigned int ifIndex);
/// The same for an IPv6 route.
VANTACORE_API void RemoveRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                               const Ip6Addr& gateway, unsigned int ifIndex);
/// Asks for the route to be used again, with metric 0 and type 0.
VANTACORE_API void EnableRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                               const Ip4Addr& gateway, unsigned int ifIndex);
/// The same for an IPv6 route.
VANTACORE_API void EnableRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                               const Ip6Addr& gateway, unsigned int ifIndex);
/// Asks for the route to be kept but not used, with metric 0 and type 0.
VANTACORE_API void DisableRoute(unsigned short vlan, const Ip4Addr& destination,
                                const Ip4Addr& mask, const Ip4Addr& gateway, unsigned int ifIndex);
/// The same for an IPv6 route.
VANTACORE_API void DisableRoute(unsigned short vlan, const Ip6Addr& address,
                                const Ip6Prefix& prefix, const Ip6Addr& gateway,
                                unsigned int ifIndex);

}  // namespace Tarsel

#endif
