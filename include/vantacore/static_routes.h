// Static routes for the other components of the host process, without knowing the RTM manager.
#ifndef VANTACORE_STATIC_ROUTES_H
#define VANTACORE_STATIC_ROUTES_H

#include "tarsel/address.h"
#include "vantacore/export.h"

namespace Tarsel {

// Each function queues one request for the VLAN's routing table. IPv4: the prefix length is the
// number of one bits of `mask`. IPv6: AddRoute uses the address and length of `prefix` and ignores
// `address`. The other functions use `address` with the length of `prefix`. So always pass the
// prefix's own address as `address`. `ifIndex` 0 leaves the interface to the stack; it is part of
// the row's identifier. A request replaces one for the same row that is still pending, and in the
// stack it replaces the values of the row.
//
// Nothing is checked: host bits of a destination go to the stack as they are, and a route of a VLAN
// that does not exist waits in the configuration scheduler until the VLAN is created. The outcome
// is not reported: a request that is refused stays in the configuration scheduler. If memory is
// short, a request is not queued, and that is traced.

/// Asks for the route to be added, or for its values to be replaced. Returns 1. `metric` is cut to
/// 16 bits. For a static route pass `type` 0x30000 (PATH_TYPE_STATIC). Admin status: 1 up, 2 down.
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
/// Asks for the route to be used again. The request carries metric 0 and type 0, and the stack
/// takes them: the route's metric is lost. To keep it, call AddRoute with admin status 1.
VANTACORE_API void EnableRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                               const Ip4Addr& gateway, unsigned int ifIndex);
/// The same for an IPv6 route.
VANTACORE_API void EnableRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                               const Ip6Addr& gateway, unsigned int ifIndex);
/// Asks for the route to be kept but not used. Its metric is lost, as with EnableRoute; to keep it,
/// call AddRoute with admin status 2.
VANTACORE_API void DisableRoute(unsigned short vlan, const Ip4Addr& destination,
                                const Ip4Addr& mask, const Ip4Addr& gateway, unsigned int ifIndex);
/// The same for an IPv6 route.
VANTACORE_API void DisableRoute(unsigned short vlan, const Ip6Addr& address,
                                const Ip6Prefix& prefix, const Ip6Addr& gateway,
                                unsigned int ifIndex);

}  // namespace Tarsel

#endif
