// The members of documents that these routers read, each declared once: its name, its kind, its
// range and its default. The rows read them as they are declared here; from the same declarations
// the host checks documents before the routers see them.
#ifndef DEVICE_ROUTERS_DECLARED_MEMBERS_H
#define DEVICE_ROUTERS_DECLARED_MEMBERS_H

#include "device/documents/members.h"

namespace routers {

// ---- names of rows

// A name may have the whole name of its protocol: RIPNG_10_3 is the same row as RIP_10_3.
inline constexpr documents::Row PEER_ROW{"BGP", nullptr, 0, false, "afi"};
inline constexpr documents::Row OSPFV2_AREA_ROW{"OSPF"};
inline constexpr documents::Row OSPFV3_AREA_ROW{"OSPF", "V3"};
inline constexpr documents::Row OSPFV2_INTERFACE_ROW{"OSPF", nullptr, 2, true};
inline constexpr documents::Row OSPFV3_INTERFACE_ROW{"OSPF", "V3", 2, true};
inline constexpr documents::Row RIPV2_ROW{"RIP", "V2", 0, true};
inline constexpr documents::Row RIPNG_ROW{"RIP", "NG", 0, true};
inline constexpr documents::Row IGMP_ROW{"IGMP", nullptr, 0, true};
inline constexpr documents::Row MLD_ROW{"MLD", nullptr, 0, true};
inline constexpr documents::Row TAKING_PART_ROW{"", nullptr, 0, true};

inline constexpr documents::Member PEER_NAME = documents::RowName(PEER_ROW);
inline constexpr documents::Member OSPFV2_AREA_NAME = documents::RowName(OSPFV2_AREA_ROW);
inline constexpr documents::Member OSPFV3_AREA_NAME = documents::RowName(OSPFV3_AREA_ROW);
inline constexpr documents::Member OSPFV2_INTERFACE_NAME = documents::RowName(OSPFV2_INTERFACE_ROW);
inline constexpr documents::Member OSPFV3_INTERFACE_NAME = documents::RowName(OSPFV3_INTERFACE_ROW);
inline constexpr documents::Member RIPV2_NAME = documents::RowName(RIPV2_ROW);
inline constexpr documents::Member RIPNG_NAME = documents::RowName(RIPNG_ROW);
inline constexpr documents::Member IGMP_NAME = documents::RowName(IGMP_ROW);
inline constexpr documents::Member MLD_NAME = documents::RowName(MLD_ROW);
inline constexpr documents::Member TAKING_PART_NAME = documents::RowName(TAKING_PART_ROW);

// ---- BGP's peers

inline constexpr documents::Member PEER_AFI = documents::Number("afi", 0, 1, 0, "0 IPv4, 1 IPv6");
inline constexpr documents::Member PEER_SAFI =
    documents::Number("safi", 0, 3, 3, "0 both, 1 labelled, 2 multicast, 3 unicast");
inline constexpr documents::Member PEER_ADDRESS =
    documents::Required(documents::Plain("address", documents::Kind::IP4_OR_IP6));
inline constexpr documents::Member PEER_AS = documents::RequiredNumber("as", 1, 0xFFFFFFFF);
inline constexpr documents::Member PEER_DESCRIPTION =
    documents::Text("description", documents::Kind::DESCRIPTION, 0, 127, "empty");

// ---- OSPF's areas and interfaces

inline constexpr const char* AREA_TYPES[] = {"normal", "stub", "nssa", nullptr};

inline constexpr documents::Member AREA_ID =
    documents::Plain("area", documents::Kind::IP4, "the row's number");
inline constexpr documents::Member AREA_TYPE = documents::Word("type", AREA_TYPES, 0);
inline constexpr documents::Member AREA_DEFAULT_COST =
    documents::Number("default_cost", 0, 0xFFFFFF, 1);

inline constexpr documents::Member OSPF_AREA =
    documents::Plain("area", documents::Kind::IP4, "0.0.0.0");
inline constexpr documents::Member OSPF_COST = documents::Number("cost", 1, 0xFFFF, 10);
inline constexpr documents::Member OSPF_PRIORITY = documents::Number("priority", 0, 255, 1);
inline constexpr documents::Member OSPF_HELLO_INTERVAL =
    documents::Number("hello_interval", 1, 0xFFFF, 10, "seconds");
inline constexpr documents::Member OSPF_DEAD_INTERVAL =
    documents::Number("dead_interval", 1, 0xFFFF, 40, "seconds");
inline constexpr documents::Member OSPF_PASSIVE = documents::Flag("passive", false);

// ---- RIP's interfaces

inline constexpr documents::Member RIP_COST =
    documents::Number("cost", 1, 15, 1, "16 is unreachable");
inline constexpr documents::Member RIP_PASSIVE = documents::Flag("passive", false);

// ---- the interfaces of IGMP and MLD

// An absent version is the latest one.
inline constexpr documents::Member IGMP_VERSION = documents::Number("version", 1, 3, 3);
inline constexpr documents::Member MLD_VERSION = documents::Number("version", 1, 2, 2);
inline constexpr documents::Member QUERY_INTERVAL = documents::Number(
    "query_interval", 1, 31744, 125, "seconds; the largest is the longest that a query can tell");
inline constexpr documents::Member GROUP4_ADDRESS =
    documents::Required(documents::Plain("address", documents::Kind::IP4_GROUP));
inline constexpr documents::Member GROUP6_ADDRESS =
    documents::Required(documents::Plain("address", documents::Kind::IP6_GROUP));

inline constexpr documents::Member GROUP4_MEMBERS[] = {GROUP4_ADDRESS};
inline constexpr documents::Member GROUP6_MEMBERS[] = {GROUP6_ADDRESS};
inline constexpr documents::Object GROUP4 =
    documents::ObjectWith("IPv4 group", GROUP4_MEMBERS, false);
inline constexpr documents::Object GROUP6 =
    documents::ObjectWith("IPv6 group", GROUP6_MEMBERS, false);
inline constexpr documents::Member GROUPS4 = documents::ListOf("GROUPS", GROUP4);
inline constexpr documents::Member GROUPS6 = documents::ListOf("GROUPS", GROUP6);

// ---- the protocols' own members

inline constexpr documents::Member TAKING_PART_MEMBERS[] = {TAKING_PART_NAME, documents::ENABLED};
inline constexpr documents::Object TAKING_PART =
    documents::ObjectWith("interface of a protocol", TAKING_PART_MEMBERS, false);
/// Whether interfaces take part in a protocol.
inline constexpr documents::Member INTERFACES =
    documents::ListOf("INTERFACES", TAKING_PART, "every interface takes part");

// The lists of rows.
inline constexpr const char* PEERS = "PEERS";
inline constexpr const char* AREA_LIST = "AREA_LIST";
inline constexpr const char* IF_LIST = "IF_LIST";

}  // namespace routers

#endif
