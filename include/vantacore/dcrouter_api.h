/* The functions through which the routing stack calls the library. Compiles as C and as C++.
 *
 * 1. All of them run on the host's event-loop thread, inside nbb_scheduler() or inside a stack call
 *    that the library made. They may be called from either place; none of them blocks.
 * 2. An instance id is a VLAN id in the low 16 bits, with bit 0x8000 set for the VLAN's IPv6
 *    instance. "The VLAN of id" is the id without that bit, cut to 16 bits. Functions that take a
 *    `vid` use its low 16 bits as they are, the bit included.
 * 3. Yes and no are 1 and 0. Results are written through pointers on success only.
 * 4. Pointers are read or written during the call and never kept.
 */
#ifndef VANTACORE_DCROUTER_API_H
#define VANTACORE_DCROUTER_API_H

#include "stack/rows.h"
#include "vantacore/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Asks for a stack run in 5 ms; further requests before that run change nothing. */
VANTACORE_API void cRescheduleNBase(void);
/** Whether such a request is pending. */
VANTACORE_API int cIsNBaseRescheduled(void);

/** Whether the id is one of an IPv6 instance. */
VANTACORE_API int cIsIpv6Instance(unsigned int id);
/** The IPv4 instance id of the VLAN of id. */
VANTACORE_API unsigned int cGetIp4Instance(unsigned int id);
/** The IPv6 instance id of the VLAN of id. */
VANTACORE_API unsigned int cGetIp6Instance(unsigned int id);

/** The outcome of a static route request, with the values of the request. `type` is 1 for IPv4 (4
 * address bytes), 2 for IPv6 (16); a null `next_hop` is all zero. `unused` is not looked at.
 * `status`: 1 done, 5 worth a retry, 6 with row status 6 gone already; anything else is final, but
 * a refused removal is asked for again. */
VANTACORE_API void cSetRouteState(unsigned int id, int type, const unsigned char* destination,
                                  unsigned int prefix_length, const unsigned char* next_hop,
                                  unsigned int if_index, int metric, int path_type, int row_status,
                                  int admin_status, unsigned int unused, unsigned int status);
/** The outcome of a redistribution request, judged like a route's; `vlan` is taken as it was
 * requested, the IPv6 bit included. `priority` is not looked at. */
VANTACORE_API void cSetRedistState(unsigned int row_status, unsigned int admin_status,
                                   unsigned int source, unsigned int destination,
                                   unsigned int priority, unsigned int vlan, unsigned int extra,
                                   unsigned int status);

/** Whether the instance has been reported ready; 0 for an unknown one. */
VANTACORE_API int cIsRtmReady(unsigned int vid);
/** Reports the instance ready; a record is made when there is none. */
VANTACORE_API void cSetRtmReady(unsigned int vid);
/** Fills the entity row of a known instance: 1 on success, 2 (row untouched) otherwise. Its words
 * are those of amb_cipr_rtm_entity. */
VANTACORE_API int cGetRtmConfig(unsigned int vid, amb_cipr_rtm_entity* entity);

/** The IPv4 address (as it lies in memory) of the VLAN's primary interface, 0.0.0.0 included; 0 if
 * that interface is not registered, or if the VLAN has none, which is also reported as an
 * assertion. */
VANTACORE_API int cGetAddress(unsigned int id, unsigned int* addr);
/** The same for the interface "eth0" of the VLAN. */
VANTACORE_API int cGetVlanAddress(unsigned int id, unsigned int* addr);

/** The stack is ready for row requests: releases all that wait. Non-zero if the last row in the
 * order of arrival had a request to issue. A repeated signal releases nothing and returns 0. */
VANTACORE_API int cI3Ready(void);
/** The stack has finished with the row of this identifier: the row's next request is issued. */
VANTACORE_API void cRunPendingAction(unsigned int* key, unsigned int key_len);

/** Registers a descriptor of the stack on the host's event loop. `mask` is a set of event bits: 1
 * read, 2 write, 4 urgent. The host is told to watch for one of them: read if it is in the mask,
 * else write, else nothing. `id` is the stack's own value. */
VANTACORE_API void cRegisterWorkWithEventloop(int fd, int id, unsigned int mask);
/** Ends the registration of `fd` under `id`. */
VANTACORE_API void cUnregisterWorkWithEventloop(int fd, int id);
/** Other events for a registered descriptor: read if it is in the mask, else write, else urgent,
 * else nothing. */
VANTACORE_API void cChangeMask(int fd, unsigned int mask);

#ifdef __cplusplus
}
#endif

#endif
