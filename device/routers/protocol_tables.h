// The tables of the protocols' rows in the stack, and the codes by which it knows the protocols.
#ifndef DEVICE_ROUTERS_PROTOCOL_TABLES_H
#define DEVICE_ROUTERS_PROTOCOL_TABLES_H

#include "declared_members.h"

namespace routers {

/// One table. These routers choose the table numbers. An IPv4 and an IPv6 protocol have different
/// tables, since a VLAN id from 0x8000 on has one instance for both families.
struct ProtocolTable {
  unsigned int number;
  int ipProto;                    // 0 IPv4, 41 IPv6
  const documents::Member* name;  // what its rows are called in documents
  const char* label;              // one row of it, for an operator
};

constexpr ProtocolTable BGP_PEERS = {1, 0, &PEER_NAME, "peer"};
constexpr ProtocolTable OSPFV2_AREAS = {2, 0, &OSPFV2_AREA_NAME, "area"};
constexpr ProtocolTable OSPFV2_INTERFACES = {3, 0, &OSPFV2_INTERFACE_NAME, "interface"};
constexpr ProtocolTable OSPFV3_AREAS = {4, 41, &OSPFV3_AREA_NAME, "area"};
constexpr ProtocolTable OSPFV3_INTERFACES = {5, 41, &OSPFV3_INTERFACE_NAME, "interface"};
constexpr ProtocolTable RIPV2_INTERFACES = {6, 0, &RIPV2_NAME, "interface"};
constexpr ProtocolTable RIPNG_INTERFACES = {7, 41, &RIPNG_NAME, "interface"};
constexpr ProtocolTable IGMP_INTERFACES = {8, 0, &IGMP_NAME, "interface"};
constexpr ProtocolTable MLD_INTERFACES = {9, 41, &MLD_NAME, "interface"};

/// The stack's protocol codes of redistribution: the route-protocol code shifted left by 16 bits.
enum RedistributionCode : unsigned int {
  CODE_NONE = 0,
  CODE_RIP = 8u << 16,
  CODE_OSPF = 13u << 16,
  CODE_BGP = 14u << 16
};

}  // namespace routers

#endif
