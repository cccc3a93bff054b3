/* The C functions of the routing stack that the library calls.
 *
 * 1. The stack is single-threaded and runs only inside nbb_scheduler(). The sms_act_, sms_update_
 *    and sms_bld_ functions take a request and return; the stack reports its outcome later through
 *    the callback API (vantacore/dcrouter_api.h).
 * 2. All pointers are read during the call and never kept, except the context of a walk.
 * 3. Row status: 1 active, 4 create and go, 6 destroy. Admin and operational status: 1 up, 2 down.
 *    Address type: 1 IPv4 (4 bytes), anything else IPv6 (16 bytes).
 * 4. The identifier builders are pure. They write at most SMS_OID_MAX sub-identifiers into the
 *    caller's buffer, which has room for that many, and return their count.
 * 5. A test program may define any of these functions itself. Its definition is then used instead
 *    of the stack's.
 */
#ifndef STACK_SMS_H
#define STACK_SMS_H

#include "stack/rows.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Marks what the stack shares across library boundaries. */
#define SMS_API __attribute__((visibility("default")))

enum { SMS_OID_MAX = 130 };

/* Life and scheduling. */

/** Starts the stack with a blank-separated list of protocol components, which is copied. */
SMS_API void smsi_init(char* components);
/** Does a bounded piece of work. Returns the milliseconds until the next run is needed: 0 for at
 * once, negative if nothing is scheduled. */
SMS_API int nbb_scheduler(void);
/** A descriptor that the stack registered is ready. */
SMS_API void InvokeCallback(int fd, int events);

/* Tracing. */

/** Switches the trace of messages between components: 0 off, anything else on. */
SMS_API void nbb_trips_control(int on);
/** Sets a filter of that trace: `value` 1 type in, 2 type out, 5 process in, 6 process out; the
 * empty text clears it. */
SMS_API void nbb_set_ips_filter(char* filter, unsigned short value);
/** Returns non-zero if that trace is on. */
SMS_API int nbb_get_ips_tracing(void);
/** Failures that the stack counted; the caller sets it to 0 before a trace call. */
extern SMS_API unsigned int nbb_os_failures;

/* Row requests. */

/** Sets (row status 1 in word 1) or destroys (6) the instance of word 0. The stack reports a new
 * instance ready by cSetRtmReady. */
SMS_API void sms_act_rtm(amb_cipr_rtm_entity* row);
/** Sets or destroys a static route. The stack answers by cSetRouteState with the same values and
 * reports the end of the request by cRunPendingAction. `not_shared` is 1 if the row was idle, 0 if
 * the request has waited for an earlier one of the row or for cI3Ready. */
SMS_API void sms_update_route(int not_shared, int row_status, int admin_status, int address_type,
                              const unsigned char* destination, unsigned int prefix_length,
                              const unsigned char* next_hop, int path_type, unsigned int if_index,
                              unsigned short instance, unsigned short metric);
/** Creates an interface (row status 4, with name, flags and the host's `extra`), sets its
 * operational status (1, with flags and `extra` 0) or destroys it (6). The stack reports the end of
 * the request by cRunPendingAction. `flags` are those of amb_stubs_i3_ei. `if_attr` is 0, unless
 * the host passes another value to DcInterfaceMgr::SetInterfaceStatus. */
SMS_API void sms_act_interface(int row_status, unsigned int oper_status, unsigned int instance,
                               unsigned int if_index, const char* name, unsigned int if_attr,
                               unsigned int flags, unsigned int extra);
/** The same request if it has waited for an earlier one of the row or for cI3Ready. */
SMS_API void sms_bld_amb_test_i3_ei(int row_status, unsigned int oper_status, unsigned int instance,
                                    unsigned int if_index, const char* name, unsigned int if_attr,
                                    unsigned int flags, unsigned int extra);
/** Sets or destroys an address: IPv4 under the VLAN, IPv6 under the IPv6 instance. The stack
 * reports the end of the request by cRunPendingAction. */
SMS_API void sms_act_ipaddr(int row_status, unsigned int vlan_or_instance, int address_type,
                            unsigned int if_index, const unsigned char* address,
                            unsigned int prefix_length);
/** Sets or destroys a redistribution rule. The stack answers by cSetRedistState and reports the end
 * of the request by cRunPendingAction. Protocols are the stack's codes; `vlan` is the instance,
 * with 0x8000 for IPv6; `zero` is 0. */
SMS_API void sms_act_cipr_redist(int row_status, int admin_status, int source, int destination,
                                 unsigned int vlan, unsigned int zero);
/** The same request if it has waited for an earlier one of the row or for cI3Ready. */
SMS_API void sms_bld_amb_test_cipr_redist(int row_status, int admin_status, int source,
                                          int destination, unsigned int vlan, unsigned int zero);

/* Row identifiers. */

/** Builds the identifier of a static route. */
SMS_API unsigned int sms_get_route_oid(unsigned int* buffer, unsigned short instance,
                                       int address_type, const unsigned char* destination,
                                       unsigned int prefix_length, const unsigned char* next_hop,
                                       unsigned int if_index);
/** Builds the identifier of an interface. */
SMS_API unsigned int sms_set_i3_ei_oid(unsigned int* buffer, unsigned int instance,
                                       unsigned int if_index);
/** Builds the identifier of an address; the prefix length is not part of it. */
SMS_API unsigned int sms_set_i3_ea_oid(unsigned int* buffer, unsigned int instance,
                                       unsigned int if_index, const void* address,
                                       int address_type);
/** Builds the identifier of a redistribution rule. */
SMS_API unsigned int sms_set_cipr_redist_oid(unsigned int* buffer, unsigned int vlan,
                                             unsigned int source, unsigned int destination);

/* Walks. The stack reports each row with result 1; the row is valid during that call. It reports
 * the end with result 7 and a null row, and a failure with another result. The handler returns
 * non-zero to get the next row. After it has returned 0, the stack forgets the walk and never
 * touches `command` again. */

/** Takes one response of a walk, as described above. `context` is the stack's own. */
typedef unsigned char (*sms_response)(void* command, unsigned int context, unsigned int result,
                                      void* row);

/** Walks the interfaces from the first row of `instance` on, later instances included. */
SMS_API void sms_get_next_i3_ei(unsigned int instance, sms_response response, void* command);
/** Walks the addresses in the same way. */
SMS_API void sms_get_next_i3_ea(unsigned int instance, sms_response response, void* command);
/** Walks the whole route table, every instance. */
SMS_API void sms_get_next_rtm_route(sms_response response, void* command);
/** Walks the whole RIB, every instance. */
SMS_API void sms_get_next_rtm_rib(sms_response response, void* command);

#ifdef __cplusplus
}
#endif

#endif
