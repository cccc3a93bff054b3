// The tables of the protocols' rows in the stack, and the codes by which it knows the protocols.
#ifndef DEVICE_ROUTERS_PROTOCOL_TABLES_H
#define DEVICE_ROUTERS_PROTOCOL_TABLES_H

namespace routers {

/// One table. These routers choose the table numbers. An IPv4 and an IPv6 protocol have different
/// tables, since a VLAN id from 0x8000 on has one instance for both families.
struct ProtocolTable {
  unsigned int number;
  int ipProto;         // 0 IPv4, 41 IPv6
  const char* prefix;  // what the names of its rows begin with
  const char* label;   // one row of it, for an operator
};

constexpr ProtocolTable BGP_PEERS = {1, 0, "BGP", "peer"};
constexpr ProtocolTable OSPFV2_AREAS = {2, 0, "OSPF", "area"};
constexpr ProtocolTable OSPFV2_INTERFACES = {3, 0, "OSPF", "interface"};
constexpr ProtocolTable OSPFV3_AREAS = {4, 41, "OSPF", "area"};
constexpr ProtocolTable OSPFV3_INTERFACES = {5, 41, "OSPF", "interface"};
constexpr ProtocolTable RIPV2_INTERFACES = {6, 0, "RIP", "interface"};
constexpr ProtocolTable RIPNG_INTERFACES = {7, 41, "RIP", "interface"};
constexpr ProtocolTable IGMP_INTERFACES = {8, 0, "IGMP", "interface"};
constexpr ProtocolTable MLD_INTERFACES = {9, 41, "MLD", "interface"};

/// The stack's protocol codes of redistribution: the route-protocol code shifted left by 16 bits.
enum RedistributionCode : unsigned int {
  CODE_NONE = 0,
  CODE_RIP = 8u << 16,
  CODE_OSPF = 13u << 16,
  CODE_BGP = 14u << 16
};

}  // namespace routers

#endif
