/* The callbacks as a C compiler sees them: every name with its exact type. */

#include "vantacore/dcrouter_api.h"

void (*const type_reschedule)(void) = cRescheduleNBase;
int (*const type_is_rescheduled)(void) = cIsNBaseRescheduled;
int (*const type_is_ipv6)(unsigned int) = cIsIpv6Instance;
unsigned int (*const type_ip4_instance)(unsigned int) = cGetIp4Instance;
unsigned int (*const type_ip6_instance)(unsigned int) = cGetIp6Instance;
void (*const type_route_state)(unsigned int, int, const unsigned char*, unsigned int,
                               const unsigned char*, unsigned int, int, int, int, int, unsigned int,
                               unsigned int) = cSetRouteState;
void (*const type_redist_state)(unsigned int, unsigned int, unsigned int, unsigned int,
                                unsigned int, unsigned int, unsigned int,
                                unsigned int) = cSetRedistState;
int (*const type_is_rtm_ready)(unsigned int) = cIsRtmReady;
void (*const type_set_rtm_ready)(unsigned int) = cSetRtmReady;
int (*const type_rtm_config)(unsigned int, amb_cipr_rtm_entity*) = cGetRtmConfig;
int (*const type_address)(unsigned int, unsigned int*) = cGetAddress;
int (*const type_vlan_address)(unsigned int, unsigned int*) = cGetVlanAddress;
int (*const type_i3_ready)(void) = cI3Ready;
void (*const type_run_pending)(unsigned int*, unsigned int) = cRunPendingAction;
void (*const type_register)(int, int, unsigned int) = cRegisterWorkWithEventloop;
void (*const type_unregister)(int, int) = cUnregisterWorkWithEventloop;
void (*const type_change_mask)(int, unsigned int) = cChangeMask;

/* The row is 156 bytes in C as well. */
typedef char entity_row_size[sizeof(amb_cipr_rtm_entity) == 156 ? 1 : -1];
