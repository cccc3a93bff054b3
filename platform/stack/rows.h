/* Rows of the routing stack's tables, as they are sent to it and handed out by its walks.
 *
 * All numbers are 32 bits wide and in the machine's byte order; addresses are bytes in network
 * order.
 */
#ifndef STACK_ROWS_H
#define STACK_ROWS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { AMB_RTM_ENTITY_WORDS = 39 };

/** A Routing Table Manager entity, one per protocol instance. Words of the row as the stack numbers
 * them; those that are not listed are 0, and in a request to destroy all but the first three are:
 *
 *     0         the protocol instance: the VLAN, with 0x8000 for IPv6
 *     1, 2      row status (1 active, 6 destroy) and admin status (1 up, 2 down)
 *     6, 7      distances of the family's OSPF: internal and external routes
 *     8, 9      distances of BGP: internal and external in a request (sms_act_rtm), the other way
 *               round in what cGetRtmConfig fills
 *     14        distance of the family's RIP
 *     28        the stack's timer for a routing protocol that has died, in seconds
 *     30        1 IPv4, 2 IPv6 in a request; 0 in what cGetRtmConfig fills
 */
typedef struct amb_cipr_rtm_entity {
  uint32_t word[AMB_RTM_ENTITY_WORDS]; /**< as listed above */
} amb_cipr_rtm_entity;

/** A route of the route table: the installed ones. IPv4 uses the first four bytes of an address. */
typedef struct amb_cipr_rtm_route {
  uint32_t instance;             /**< the protocol instance: the VLAN, with 0x8000 for IPv6 */
  unsigned char destination[16]; /**< host bits clear */
  uint32_t prefix_length;        /**< 0 to 32 or 128 */
  unsigned char next_hop[16];    /**< all zero for none */
  uint32_t if_index;             /**< 0 for none */
  uint32_t route_type;           /**< 1 other, 2 reject, 3 local, 4 remote */
  uint32_t route_proto;          /**< 2 connected, 3 static, 8 RIP, 13 OSPF, 14 BGP */
  uint32_t age;                  /**< seconds */
  uint32_t route_info;           /**< shown only */
  uint32_t next_hop_as;          /**< shown only; an autonomous system's number */
  uint32_t metric1;              /**< the metric that routes are compared by */
  uint32_t metric2;              /**< shown only */
  uint32_t metric3;              /**< shown only */
  uint32_t metric4;              /**< shown only */
  uint32_t metric5;              /**< shown only */
} amb_cipr_rtm_route;

/** A candidate of the RIB. Its first fields are those of the route table's row. */
typedef struct amb_cipr_rtm_rib {
  uint32_t instance;             /**< the protocol instance: the VLAN, with 0x8000 for IPv6 */
  unsigned char destination[16]; /**< host bits clear */
  uint32_t prefix_length;        /**< 0 to 32 or 128 */
  unsigned char next_hop[16];    /**< all zero for none */
  uint32_t if_index;             /**< 0 for none */
  uint32_t route_type;           /**< 1 other, 2 reject, 3 local, 4 remote */
  uint32_t route_proto;          /**< 2 connected, 3 static, 8 RIP, 13 OSPF, 14 BGP */
  uint32_t age;                  /**< seconds */
  uint32_t route_info;           /**< shown only */
  uint32_t next_hop_as;          /**< shown only; an autonomous system's number */
  uint32_t metric1;              /**< the metric that routes are compared by */
  uint32_t metric2;              /**< shown only */
  uint32_t metric3;              /**< shown only */
  uint32_t metric4;              /**< shown only */
  uint32_t metric5;              /**< shown only */
  uint32_t fib_flag;             /**< 1 when installed in the forwarding table */
  uint32_t interface_pending;    /**< 1 while the outgoing interface is not determined */
} amb_cipr_rtm_rib;

/** An interface of the I3 interface table. */
typedef struct amb_stubs_i3_ei {
  uint32_t instance; /**< the protocol instance: the VLAN, with 0x8000 for IPv6 */
  uint32_t if_index; /**< the interface's index */
  char name[256];    /**< NUL-terminated */
  /** 1 MPLS tunnel, 2 loopback, 4 point-to-point, 8 broadcast, 16 multicast, 32 unnumbered. */
  uint32_t flags;
  uint32_t oper_status; /**< 1 up, 2 down */
  uint32_t mtu;         /**< bytes */
} amb_stubs_i3_ei;

/** An address of the I3 address table. */
typedef struct amb_stubs_i3_ea {
  uint32_t instance;         /**< the protocol instance: the VLAN, with 0x8000 for IPv6 */
  uint32_t if_index;         /**< 0 for none */
  uint32_t address_type;     /**< 1 IPv4, 2 IPv6 */
  unsigned char address[16]; /**< IPv4 uses the first four bytes */
  uint32_t prefix_length;    /**< 0 to 32 or 128 */
} amb_stubs_i3_ea;

#ifdef __cplusplus
}
static_assert(sizeof(amb_cipr_rtm_entity) == 156, "the entity row is 156 bytes");
#endif

#endif
