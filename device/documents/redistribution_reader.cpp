#include "redistribution_reader.h"

#include "members.h"
#include "vantacore/dc_router_mgr.h"

namespace documents {

using Tarsel::DcRouterMgr;
using Tarsel::OptionsNode;
using Tarsel::RedistributionProfile;

namespace {

constexpr const char* GROUP = "VLAN_CONFIGURATIONS";

// The members that configure the routers which routes can be handed to.
struct RouterMember {
  const char* name;
  DcRouterMgr::ProtocolType router;
};

constexpr RouterMember MEMBERS[] = {
    {"BGP", DcRouterMgr::PROTOCOL_BGP},       {"OSPF", DcRouterMgr::PROTOCOL_OSPFV2},
    {"OSPFV3", DcRouterMgr::PROTOCOL_OSPFV3}, {"RIPV2", DcRouterMgr::PROTOCOL_RIPV2},
    {"RIPNG", DcRouterMgr::PROTOCOL_RIPNG},
};

template <class Visit>
void ForEachVlan(const Tarsel::Options& document, Visit visit) {
  const OptionsNode group = document.GetRootNode().GetChildNode(GROUP);
  const auto end = group.end();
  for (auto entry = group.begin(); entry != end; ++entry) {
    int vlan = 0;
    if ((*entry).AsVal(vlan, "vid")) {
      visit(static_cast<unsigned short>(vlan), *entry);
    }
  }
}

// The library does not hand an empty member to a router.
bool Enables(const OptionsNode& member) {
  return !member.IsEmpty() && ReadEnabling(member) == Enabling::YES;
}

}  // namespace

Profiles ReadProfiles(const Tarsel::Options& document, const std::string& file) {
  const Place place(file);
  Profiles profiles;
  ForEachVlan(document, [&](unsigned short vlan, const OptionsNode& entry) {
    const auto known = profiles.find(vlan);
    RedistributionProfile sources =
        known == profiles.end() ? RedistributionProfile() : known->second.sources;
    if (sources.ParseOption(entry)) {
      profiles.insert_or_assign(vlan, Profile{sources, place.Vlan(vlan).Member("REDISTRIBUTION")});
    }
  });
  return profiles;
}

ProtocolSets ReadProtocols(const Tarsel::Options& document) {
  ProtocolSets sets;
  ForEachVlan(document, [&](unsigned short vlan, const OptionsNode& entry) {
    unsigned int& set = sets[vlan];
    set = 0;  // the last of several entries decides
    for (const RouterMember& member : MEMBERS) {
      set |= Enables(entry.GetChildNode(member.name)) ? 1u << member.router : 0;
    }
  });
  return sets;
}

}  // namespace documents
