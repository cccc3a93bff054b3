#include "document_shapes.h"

#include <algorithm>
#include <cstring>

namespace documents {

namespace {

constexpr std::uint32_t MAX_NUMBER = 0xFFFFFFFF;

constexpr const char* ADDRESS_LENGTH = "`ADDRESS/LENGTH`; host bits may be set";

// ---- the device document

constexpr const char* FLAG_WORDS[] = {"mpls-tunnel", "loopback",   "point-to-point", "broadcast",
                                      "multicast",   "unnumbered", nullptr};

constexpr Member FlagWord() {
  Member member{"", Kind::WORD};
  member.words = FLAG_WORDS;
  return member;
}

constexpr Member INTERFACE_FLAG = FlagWord();
constexpr Member INTERFACE_ADDRESS6 = Plain("", Kind::IP6_PREFIX, nullptr, ADDRESS_LENGTH);

constexpr Member ArrayOf(const char* name, const Member& element, const char* meaning) {
  Member member = Plain(name, Kind::ARRAY, "none", meaning);
  member.element = &element;
  return member;
}

constexpr Member INTERFACE_MEMBERS[] = {
    Required(Text("name", Kind::INTERFACE_NAME, 1, 64)),
    RequiredNumber("vlan", 0, MAX_VLAN),
    RequiredNumber("index", 1, 0x7FFFFFFF, "once per VLAN, as is the name"),
    ArrayOf("flags", INTERFACE_FLAG, nullptr),
    Number("mtu", 68, 65535, 1500, "bytes"),
    Flag("up", true),
    Flag("joined", false, "a remote has joined on the interface"),
    Plain("ipv4", Kind::IP4_PREFIX, "none", ADDRESS_LENGTH),
    ArrayOf("ipv6", INTERFACE_ADDRESS6, "each address once"),
};
constexpr Object INTERFACE = ObjectWith("interface", INTERFACE_MEMBERS, false);

constexpr Member ObjectElement(const Object& object) { return ObjectOf("", object); }
constexpr Member INTERFACE_ELEMENT = ObjectElement(INTERFACE);

constexpr Member PrimaryInterfaces() {
  Member member = Plain("primary_interfaces", Kind::VLAN_NAMES,
                        "the VLAN's interface of the lowest index that has an IPv4 address, else "
                        "`lo`",
                        "the names are VLANs, the values interfaces of them");
  member.high = MAX_VLAN;
  return member;
}

// The kernel has tables of its own below 256.
constexpr std::uint32_t LOWEST_TABLE = 256;
constexpr std::uint32_t HIGHEST_TABLE = 0xFFFF0000;

constexpr Member LINK_NAMES = Text("", Kind::INTERFACE_NAME, 1, 64);

constexpr std::uint32_t MOST_NEXT_HOPS = 64;
constexpr Member NEXT_HOPS = Number("", 1, MOST_NEXT_HOPS, 1);

constexpr Member Multipath() {
  Member member = Plain(
      "multipath", Kind::VLAN_NUMBERS, "1 for each VLAN",
      "with `routes`: the names are VLANs, the values how many next hops their routes may have");
  member.high = MAX_VLAN;
  member.element = &NEXT_HOPS;
  return member;
}

// The kernel has no longer ones.
constexpr Member VRF_NAME = Text("", Kind::INTERFACE_NAME, 1, 15);

constexpr Member Vrfs() {
  Member member = Plain("vrfs", Kind::VLANS_BY_NAME, "none",
                        "the names are VRF devices: what they enslave is in the VLAN, whose routes "
                        "are in the table of the VRF device; each VLAN once");
  member.element = &VRF_NAME;
  member.high = MAX_VLAN;
  return member;
}

constexpr Member KERNEL_MEMBERS[] = {
    ArrayOf("interfaces", LINK_NAMES,
            "names of links that are interfaces, `*` stands for any letters; 256 at most"),
    ArrayOf("ignore", LINK_NAMES, "names of links that are none all the same; 256 at most"),
    Vrfs(),
    Flag("routes", false, "installed routes are written into the kernel's tables"),
    Flag("rules", false,
         "with `routes`: rules lead what comes in over an interface into its VLAN's table only"),
    Multipath(),
    Number("table_base", LOWEST_TABLE, HIGHEST_TABLE, 40000,
           "a VLAN without a VRF device has the table of this number plus its id, the default VLAN "
           "the main table"),
};
constexpr Object KERNEL_SETTINGS = ObjectWith("kernel", KERNEL_MEMBERS, false);

constexpr Member DEVICE_MEMBERS[] = {
    RequiredNumber("default_vlan", 0, MAX_VLAN, "of consoles"),
    ArrayOf("interfaces", INTERFACE_ELEMENT, nullptr),
    PrimaryInterfaces(),
    WithStandardText(ObjectOf("kernel", KERNEL_SETTINGS), "the kernel is left alone"),
};
constexpr Object DEVICE = ObjectWith("device document", DEVICE_MEMBERS, false);

// ---- static routes

constexpr Member RouteInterface() { return Text("interface", Kind::TEXT, 0, ANY_LENGTH, "any"); }

constexpr Member Digits(const char* name, Kind kind, std::uint32_t high, const char* meaning) {
  Member member = Number(name, 0, high, 0, meaning);
  member.kind = kind;
  return member;
}

constexpr Member ROUTE4_MEMBERS[] = {
    RouteInterface(),
    Required(Plain("network", Kind::IP4, nullptr, "without host bits")),
    Required(Plain("netmask", Kind::IP4_MASK)),
    Required(Plain("gateway", Kind::IP4)),
    Digits("metric", Kind::DIGITS, 255, "255 only with `passthrough`"),
    Text("routemetricmode", Kind::TEXT, 0, ANY_LENGTH, "not `passthrough`"),
};
constexpr Object ROUTE4 = ObjectWith("IPv4 route", ROUTE4_MEMBERS, false);

constexpr Member ROUTE6_MEMBERS[] = {
    RouteInterface(),
    Required(Plain("network", Kind::IP6, nullptr, "without host bits")),
    Required(Digits("prefix", Kind::PREFIX_LENGTH, 128, nullptr)),
    Required(Plain("gateway", Kind::IP6)),
    Digits("metric", Kind::DIGITS, 255, nullptr),
};
constexpr Object ROUTE6 = ObjectWith("IPv6 route", ROUTE6_MEMBERS, false);

constexpr Member RoutesOf(const char* name, const Object& route) {
  Member member = ListOf(name, route);
  member.kind = Kind::ROUTES;
  return member;
}

// ---- the entry of a VLAN

// Without "ADMIN_DISTANCE" the library has distances of its own; with it, an absent one is 0.
constexpr Member Distance(const char* name, const char* standardText) {
  return WithStandardText(Number(name, 0, MAX_NUMBER, 0), standardText);
}

constexpr Member DISTANCE_MEMBERS[] = {
    Distance("ospfv2_internal", "40 without `ADMIN_DISTANCE`, else 0"),
    Distance("ospfv2_external", "110 without `ADMIN_DISTANCE`, else 0"),
    Distance("ospfv3_internal", "40 without `ADMIN_DISTANCE`, else 0"),
    Distance("ospfv3_external", "110 without `ADMIN_DISTANCE`, else 0"),
    Distance("ripv2", "120 without `ADMIN_DISTANCE`, else 0"),
    Distance("ripng", "120 without `ADMIN_DISTANCE`, else 0"),
    Distance("ebgp", "200 without `ADMIN_DISTANCE`, else 0"),
    Distance("ibgp", "20 without `ADMIN_DISTANCE`, else 0"),
};
constexpr Object DISTANCES = ObjectWith("ADMIN_DISTANCE", DISTANCE_MEMBERS);

constexpr Member RTM_MEMBERS[] = {
    Number("dead_rpm_timer", 0, MAX_NUMBER, 60, "seconds"),
    WithStandardText(ObjectOf("ADMIN_DISTANCE", DISTANCES), "the distances below"),
};
constexpr Object RTM_SETTINGS = ObjectWith("RTM", RTM_MEMBERS);

constexpr Member REDISTRIBUTION_MEMBERS[] = {
    Flag("static", true), Flag("connected", true), Flag("bgp", true),
    Flag("rip", true),    Flag("ospf", true),
};
constexpr Object REDISTRIBUTION_FLAGS = ObjectWith("REDISTRIBUTION", REDISTRIBUTION_MEMBERS, false);

constexpr Member VID = RequiredNumber("vid", 0, MAX_VLAN);
constexpr Member RTM = WithStandardText(ObjectOf("RTM", RTM_SETTINGS), "all defaults");
constexpr Member REDISTRIBUTION =
    WithStandardText(ObjectOf("REDISTRIBUTION", REDISTRIBUTION_FLAGS), "no redistribution");
constexpr Member STATIC_ROUTES = RoutesOf("STATIC_ROUTES", ROUTE4);
constexpr Member STATIC_ROUTES6 = RoutesOf("STATIC_ROUTES6", ROUTE6);

constexpr const char* ONLY_IN_THE_VLAN_DOCUMENT = "only the VLAN document's counts";
constexpr Member RTM_ELSEWHERE = Plain("RTM", Kind::ELSEWHERE, nullptr, ONLY_IN_THE_VLAN_DOCUMENT);
constexpr Member REDISTRIBUTION_ELSEWHERE =
    Plain("REDISTRIBUTION", Kind::ELSEWHERE, nullptr, ONLY_IN_THE_VLAN_DOCUMENT);

// The protocols whose routers every VLAN has.
constexpr const char* SEVEN[] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

bool IsAmong(const std::vector<Member>& members, const char* name) {
  return std::any_of(members.begin(), members.end(),
                     [name](const Member& member) { return std::strcmp(member.name, name) == 0; });
}

std::vector<Member> EntryMembers(const Member& rtm, const Member& redistribution,
                                 const Protocols& protocols) {
  std::vector<Member> members = {VID, rtm, redistribution};
  members.insert(members.end(), protocols.members, protocols.members + protocols.count);
  for (const char* name : SEVEN) {
    if (!IsAmong(members, name)) {
      members.push_back(Plain(name, Kind::ANY_OBJECT, "does not run"));
    }
  }
  members.push_back(STATIC_ROUTES);
  members.push_back(STATIC_ROUTES6);
  return members;
}

}  // namespace

const Object& DeviceShape() { return DEVICE; }
const Object& Route4Shape() { return ROUTE4; }
const Object& Route6Shape() { return ROUTE6; }

VlanShapes::Shape::Shape(const char* title, const Member& rtm, const Member& redistribution,
                         const Protocols& protocols)
    : members(EntryMembers(rtm, redistribution, protocols)),
      entry{"entry", members.data(), members.size(), false},
      list(Required(ListOf("VLAN_CONFIGURATIONS", entry))),
      root{title, &list, 1, false} {}

VlanShapes::VlanShapes(const Protocols& protocols)
    : m_vlans("VLAN document", RTM, REDISTRIBUTION, protocols),
      m_remote("remote document", RTM_ELSEWHERE, REDISTRIBUTION_ELSEWHERE, protocols) {}

}  // namespace documents
