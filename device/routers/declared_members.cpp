#include "declared_members.h"

namespace routers {

namespace {

using documents::ENABLED;
using documents::ListOf;
using documents::Member;
using documents::Object;
using documents::ObjectOf;
using documents::ObjectWith;
using documents::WithStandardText;

constexpr Member PEER_MEMBERS[] = {PEER_NAME, PEER_AFI,         PEER_SAFI, PEER_ADDRESS,
                                   PEER_AS,   PEER_DESCRIPTION, ENABLED};
constexpr Object PEER = ObjectWith("peer", PEER_MEMBERS, false);

constexpr Member OSPFV2_AREA_MEMBERS[] = {OSPFV2_AREA_NAME, AREA_ID, AREA_TYPE, AREA_DEFAULT_COST,
                                          ENABLED};
constexpr Member OSPFV3_AREA_MEMBERS[] = {OSPFV3_AREA_NAME, AREA_ID, AREA_TYPE, AREA_DEFAULT_COST,
                                          ENABLED};
constexpr Object OSPFV2_AREA = ObjectWith("OSPF area", OSPFV2_AREA_MEMBERS, false);
constexpr Object OSPFV3_AREA = ObjectWith("OSPFV3 area", OSPFV3_AREA_MEMBERS, false);

constexpr Member OSPFV2_INTERFACE_MEMBERS[] = {
    OSPFV2_INTERFACE_NAME, OSPF_AREA,          OSPF_COST,    OSPF_PRIORITY,
    OSPF_HELLO_INTERVAL,   OSPF_DEAD_INTERVAL, OSPF_PASSIVE, ENABLED};
constexpr Member OSPFV3_INTERFACE_MEMBERS[] = {
    OSPFV3_INTERFACE_NAME, OSPF_AREA,          OSPF_COST,    OSPF_PRIORITY,
    OSPF_HELLO_INTERVAL,   OSPF_DEAD_INTERVAL, OSPF_PASSIVE, ENABLED};
constexpr Object OSPFV2_INTERFACE = ObjectWith("OSPF interface", OSPFV2_INTERFACE_MEMBERS, false);
constexpr Object OSPFV3_INTERFACE = ObjectWith("OSPFV3 interface", OSPFV3_INTERFACE_MEMBERS, false);

constexpr Member RIPV2_MEMBERS[] = {RIPV2_NAME, RIP_COST, RIP_PASSIVE, ENABLED};
constexpr Member RIPNG_MEMBERS[] = {RIPNG_NAME, RIP_COST, RIP_PASSIVE, ENABLED};
constexpr Object RIPV2_INTERFACE = ObjectWith("RIPV2 interface", RIPV2_MEMBERS, false);
constexpr Object RIPNG_INTERFACE = ObjectWith("RIPNG interface", RIPNG_MEMBERS, false);

constexpr Member IGMP_MEMBERS[] = {IGMP_NAME, IGMP_VERSION, QUERY_INTERVAL, GROUPS4, ENABLED};
constexpr Member MLD_MEMBERS[] = {MLD_NAME, MLD_VERSION, QUERY_INTERVAL, GROUPS6, ENABLED};
constexpr Object IGMP_INTERFACE = ObjectWith("IGMP interface", IGMP_MEMBERS, false);
constexpr Object MLD_INTERFACE = ObjectWith("MLD interface", MLD_MEMBERS, false);

// A protocol that is named runs, unless its member is empty.
constexpr Member BGP_MEMBERS[] = {ENABLED, INTERFACES, ListOf(PEERS, PEER)};
constexpr Member OSPFV2_MEMBERS[] = {ENABLED, INTERFACES, ListOf(AREA_LIST, OSPFV2_AREA),
                                     ListOf(IF_LIST, OSPFV2_INTERFACE)};
constexpr Member OSPFV3_MEMBERS[] = {ENABLED, INTERFACES, ListOf(AREA_LIST, OSPFV3_AREA),
                                     ListOf(IF_LIST, OSPFV3_INTERFACE)};
constexpr Member RIPV2_LISTS[] = {ENABLED, INTERFACES, ListOf(IF_LIST, RIPV2_INTERFACE)};
constexpr Member RIPNG_LISTS[] = {ENABLED, INTERFACES, ListOf(IF_LIST, RIPNG_INTERFACE)};
constexpr Member IGMP_LISTS[] = {ENABLED, INTERFACES, ListOf(IF_LIST, IGMP_INTERFACE)};
constexpr Member MLD_LISTS[] = {ENABLED, INTERFACES, ListOf(IF_LIST, MLD_INTERFACE)};

constexpr Object BGP = ObjectWith("BGP", BGP_MEMBERS, false);
constexpr Object OSPFV2 = ObjectWith("OSPF", OSPFV2_MEMBERS, false);
constexpr Object OSPFV3 = ObjectWith("OSPFV3", OSPFV3_MEMBERS, false);
constexpr Object RIPV2 = ObjectWith("RIPV2", RIPV2_LISTS, false);
constexpr Object RIPNG = ObjectWith("RIPNG", RIPNG_LISTS, false);
constexpr Object IGMP = ObjectWith("IGMP", IGMP_LISTS, false);
constexpr Object MLD = ObjectWith("MLD", MLD_LISTS, false);

constexpr Member Protocol(const char* name, const Object& object) {
  return WithStandardText(ObjectOf(name, object), "does not run");
}

constexpr Member PROTOCOLS[] = {
    Protocol("BGP", BGP),     Protocol("OSPF", OSPFV2), Protocol("OSPFV3", OSPFV3),
    Protocol("RIPV2", RIPV2), Protocol("RIPNG", RIPNG), Protocol("IGMP", IGMP),
    Protocol("MLD", MLD),
};

}  // namespace

}  // namespace routers

documents::Protocols documents::DeclaredProtocols() { return ProtocolsOf(routers::PROTOCOLS); }
