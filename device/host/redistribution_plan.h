// Which redistribution rules the configuration asks for.
#ifndef DEVICE_HOST_REDISTRIBUTION_PLAN_H
#define DEVICE_HOST_REDISTRIBUTION_PLAN_H

#include <cstdint>
#include <functional>
#include <map>
#include <tuple>

#include "tarsel/options.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/redistribution_profile.h"

namespace host {

/// The profile of each VLAN that has one.
using Profiles = std::map<unsigned short, Tarsel::RedistributionProfile>;

/// Sets of protocols by VLAN: bit n stands for the protocol type n.
using ProtocolSets = std::map<unsigned short, unsigned int>;

/// A protocol that routes can be handed to. `code` is the stack's.
struct Destination {
  unsigned short vlan;
  bool ip6;
  std::uint32_t code;

  friend bool operator<(const Destination& a, const Destination& b) {
    return std::tie(a.vlan, a.ip6, a.code) < std::tie(b.vlan, b.ip6, b.code);
  }
  friend bool operator==(const Destination& a, const Destination& b) {
    return std::tie(a.vlan, a.ip6, a.code) == std::tie(b.vlan, b.ip6, b.code);
  }
};

/// A set of sources: bit n stands for SOURCES[n].
using Sources = unsigned int;

/// The stack's codes of the sources: static, connected, RIP, OSPF, BGP.
constexpr std::uint32_t SOURCES[] = {0x30000, 0x20000, 0x80000, 0xD0000, 0xE0000};

/// The sources of each destination; destinations without any are not in it.
using Rules = std::map<Destination, Sources>;

/// The profiles in a document. It need not have been checked: what has another type is passed over. A
/// VLAN has one when an entry of it has a "REDISTRIBUTION" that is not empty; of several entries each
/// adds what it says.
Profiles ReadProfiles(const Tarsel::Options& document);

/// The protocols that a document enables, as the routers read it.
ProtocolSets ReadProtocols(const Tarsel::Options& document);

/// The router that answers for a destination.
Tarsel::DcRouterMgr::ProtocolType RouterTypeOf(const Destination& destination);

using IsEnabled =
    std::function<bool(unsigned short vlan, Tarsel::DcRouterMgr::ProtocolType protocol)>;

/// Both families of each VLAN with a profile: whatever the profile hands on goes to every enabled
/// protocol, but no protocol's routes to itself.
Rules PlanRules(const Profiles& profiles, const IsEnabled& isEnabled);

}  // namespace host

#endif
