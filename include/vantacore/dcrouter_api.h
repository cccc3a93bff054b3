/* The functions through which the routing stack calls the library. Compiles as C and as C++.
 *
 * 1. Call them only on the host's event-loop thread, from inside nbb_scheduler() or from inside a
 *    stack call that the library made. None of them blocks.
 * 2. An instance id is a vid in the low 16 bits, with bit 0x8000 set for the VLAN's IPv6 instance.
 *    "The VLAN of id" is the id without that bit, cut to 16 bits. Functions whose argument is
 *    called `vid` take an instance id in it and use its low 16 bits as they are, the bit included.
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
/** Returns 1 if a run has been asked for and has not begun, else 0. */
VANTACORE_API int cIsNBaseRescheduled(void);

/** Returns 1 if the id is that of an IPv6 instance, else 0. */
VANTACORE_API int cIsIpv6Instance(unsigned int id);
/** Returns the IPv4 instance id of the VLAN of id. */
VANTACORE_API unsigned int cGetIp4Instance(unsigned int id);
/** Returns the IPv6 instance id of the VLAN of id. */
VANTACORE_API unsigned int cGetIp6Instance(unsigned int id);

/** The outcome of a static route request, with the values of the request. `type` is 1 for IPv4 (4
 * address bytes), 2 for IPv6 (16); a null `next_hop` is all zero. `unused` is not looked at.
 * `status` 1: done. 5: to be retried. 6, if `row_status` is 6: the row was gone already. Anything
 * else is final, except that a refused removal is retried. */
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

/** Returns 1 if the instance has been reported ready, else 0, also for an unknown one. */
VANTACORE_API int cIsRtmReady(unsigned int vid);
/** Reports the instance ready; a record is made when there is none. */
VANTACORE_API void cSetRtmReady(unsigned int vid);
/** Fills the entity row of a known instance, whose words are listed in stack/rows.h. Returns 1 on
 * success, else 2, with the row untouched. */
VANTACORE_API int cGetRtmConfig(unsigned int vid, amb_cipr_rtm_entity* entity);

/** Writes the IPv4 address (as it lies in memory) of the primary interface of the VLAN of id to
 * `addr`, even if it is 0.0.0.0, and returns 1. Returns 0, with `addr` untouched, if that interface
 * is not registered, or if the VLAN has no primary interface; the latter is also reported as an
 * assertion. A null `addr` gives 0. */
VANTACORE_API int cGetAddress(unsigned int id, unsigned int* addr);
/** The same for the VLAN's interface named "eth0". Returns 0 if it is not registered; nothing is
 * reported. */
VANTACORE_API int cGetVlanAddress(unsigned int id, unsigned int* addr);

/** The stack is ready for row requests: releases all that wait. Returns non-zero if the last row in
 * the order of arrival had a request to issue, else 0. A repeated signal releases nothing and
 * returns 0. */
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
