#include "redistribution_plan.h"

#include <iterator>

namespace host {

using Tarsel::DcRouterMgr;
using Tarsel::OptionsNode;
using Tarsel::RedistributionProfile;

namespace {

constexpr const char* GROUP = "VLAN_CONFIGURATIONS";

// BGP carries both families in one router.
struct Protocol {
  std::uint32_t code;
  bool ip6;
  DcRouterMgr::ProtocolType router;
};

constexpr Protocol DESTINATIONS[] = {
    {0x80000, false, DcRouterMgr::PROTOCOL_RIPV2}, {0xD0000, false, DcRouterMgr::PROTOCOL_OSPFV2},
    {0xE0000, false, DcRouterMgr::PROTOCOL_BGP},   {0x80000, true, DcRouterMgr::PROTOCOL_RIPNG},
    {0xD0000, true, DcRouterMgr::PROTOCOL_OSPFV3}, {0xE0000, true, DcRouterMgr::PROTOCOL_BGP},
};

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

// A protocol that is named is enabled unless "enabled" says otherwise.
bool Enables(const OptionsNode& member) {
  if (member.IsEmpty() || !member.IsObject()) {
    return false;
  }
  bool enabled = false;
  return member.GetChildNode("enabled").IsNull() || (member.AsVal(enabled, "enabled") && enabled);
}

Sources SourcesOf(const RedistributionProfile& profile) {
  const bool flags[] = {profile.static_, profile.connected, profile.rip, profile.ospf, profile.bgp};
  Sources sources = 0;
  for (unsigned int i = 0; i < std::size(flags); ++i) {
    sources |= flags[i] ? 1u << i : 0;
  }
  return sources;
}

Sources Without(Sources sources, std::uint32_t code) {
  for (unsigned int i = 0; i < std::size(SOURCES); ++i) {
    sources &= SOURCES[i] == code ? ~(1u << i) : ~0u;
  }
  return sources;
}

}  // namespace

Profiles ReadProfiles(const Tarsel::Options& document) {
  Profiles profiles;
  ForEachVlan(document, [&](unsigned short vlan, const OptionsNode& entry) {
    const auto known = profiles.find(vlan);
    RedistributionProfile profile =
        known == profiles.end() ? RedistributionProfile() : known->second;
    if (profile.ParseOption(entry)) {
      profiles[vlan] = profile;
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

DcRouterMgr::ProtocolType RouterTypeOf(const Destination& destination) {
  for (const Protocol& protocol : DESTINATIONS) {
    if (protocol.code == destination.code && protocol.ip6 == destination.ip6) {
      return protocol.router;
    }
  }
  return DcRouterMgr::PROTOCOL_BGP;
}

Rules PlanRules(const Profiles& profiles, const IsEnabled& isEnabled) {
  Rules rules;
  for (const auto& [vlan, profile] : profiles) {
    const Sources sources = SourcesOf(profile);
    for (const Protocol& protocol : DESTINATIONS) {
      const Sources others = Without(sources, protocol.code);
      if (others != 0 && isEnabled(vlan, protocol.router)) {
        rules.emplace(Destination{vlan, protocol.ip6, protocol.code}, others);
      }
    }
  }
  return rules;
}

}  // namespace host
