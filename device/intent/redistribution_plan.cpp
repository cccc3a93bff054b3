#include "redistribution_plan.h"

#include <iterator>

namespace intent {

using Tarsel::DcRouterMgr;

namespace {

// BGP carries both families in one router.
struct Protocol {
  std::uint32_t code;
  bool ip6;
  DcRouterMgr::ProtocolType router;
};

constexpr Protocol DESTINATIONS[] = {
    {CODE_RIP, false, DcRouterMgr::PROTOCOL_RIPV2},
    {CODE_OSPF, false, DcRouterMgr::PROTOCOL_OSPFV2},
    {CODE_BGP, false, DcRouterMgr::PROTOCOL_BGP},
    {CODE_RIP, true, DcRouterMgr::PROTOCOL_RIPNG},
    {CODE_OSPF, true, DcRouterMgr::PROTOCOL_OSPFV3},
    {CODE_BGP, true, DcRouterMgr::PROTOCOL_BGP},
};

// In the order of SOURCE_CODES.
Sources SourcesOf(const documents::Sources& from) {
  const bool flags[] = {from.fromStatic, from.fromConnected, from.fromRip, from.fromOspf,
                        from.fromBgp};
  Sources sources = 0;
  for (unsigned int i = 0; i < std::size(flags); ++i) {
    sources |= flags[i] ? 1u << i : 0;
  }
  return sources;
}

Sources Without(Sources sources, std::uint32_t code) {
  for (unsigned int i = 0; i < std::size(SOURCE_CODES); ++i) {
    sources &= SOURCE_CODES[i] == code ? ~(1u << i) : ~0u;
  }
  return sources;
}

Sources SourcesIn(const Rules& rules, const Destination& destination) {
  const auto found = rules.find(destination);
  return found == rules.end() ? 0 : found->second;
}

}  // namespace

const char* NameOfSource(std::uint32_t code) {
  switch (code) {
    case CODE_CONNECTED:
      return "connected";
    case CODE_STATIC:
      return "static";
    case CODE_RIP:
      return "RIP";
    case CODE_OSPF:
      return "OSPF";
    default:
      return "BGP";
  }
}

const char* NameOf(const Destination& destination) {
  switch (destination.code) {
    case CODE_RIP:
      return destination.ip6 ? "RIPng" : "RIPv2";
    case CODE_OSPF:
      return destination.ip6 ? "OSPFv3" : "OSPFv2";
    default:
      return destination.ip6 ? "BGP for IPv6" : "BGP for IPv4";
  }
}

Rules FindStayingRules(const Rules& present, const Rules& wanted) {
  Rules staying;
  for (const auto& [destination, sources] : present) {
    if (const Sources both = sources & SourcesIn(wanted, destination)) {
      staying.emplace(destination, both);
    }
  }
  return staying;
}

DcRouterMgr::ProtocolType RouterTypeOf(const Destination& destination) {
  for (const Protocol& protocol : DESTINATIONS) {
    if (protocol.code == destination.code && protocol.ip6 == destination.ip6) {
      return protocol.router;
    }
  }
  return DcRouterMgr::PROTOCOL_BGP;
}

Rules PlanRules(const documents::Profiles& profiles, const documents::ProtocolSets& enabled) {
  Rules rules;
  for (const auto& [vlan, profile] : profiles) {
    const Sources sources = SourcesOf(profile.sources);
    const auto protocols = enabled.find(vlan);
    for (const Protocol& protocol : DESTINATIONS) {
      const Sources others = Without(sources, protocol.code);
      if (others != 0 && protocols != enabled.end() &&
          (protocols->second & 1u << protocol.router) != 0) {
        rules.emplace(Destination{vlan, protocol.ip6, protocol.code}, others);
      }
    }
  }
  return rules;
}

}  // namespace intent
