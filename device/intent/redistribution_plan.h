// Which redistribution rules the configuration asks for.
#ifndef DEVICE_INTENT_REDISTRIBUTION_PLAN_H
#define DEVICE_INTENT_REDISTRIBUTION_PLAN_H

#include <cstdint>
#include <map>
#include <tuple>

#include "device/documents/vlan_settings.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_router_mgr.h"

namespace intent {

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

// The stack's codes of the protocols.
constexpr std::uint32_t CODE_CONNECTED = 0x20000;
constexpr std::uint32_t CODE_STATIC = Tarsel::PATH_TYPE_STATIC;
constexpr std::uint32_t CODE_RIP = Tarsel::PROTOCOL_CODE_RIP;
constexpr std::uint32_t CODE_OSPF = Tarsel::PROTOCOL_CODE_OSPF;
constexpr std::uint32_t CODE_BGP = 0xE0000;

/// A set of sources: bit n stands for SOURCE_CODES[n].
using Sources = unsigned int;
constexpr std::uint32_t SOURCE_CODES[] = {CODE_STATIC, CODE_CONNECTED, CODE_RIP, CODE_OSPF,
                                          CODE_BGP};

/// The sources of each destination; destinations without any are not in it.
using Rules = std::map<Destination, Sources>;

/// Returns the type of the router that belongs to a destination.
Tarsel::DcRouterMgr::ProtocolType RouterTypeOf(const Destination& destination);

/// What an operator calls a source and a destination: "static", "RIPv2", "BGP for IPv6".
const char* NameOfSource(std::uint32_t code);
const char* NameOf(const Destination& destination);

/// Returns the rules that are in both: what is left of `present` after everything else has been
/// withdrawn.
Rules FindStayingRules(const Rules& present, const Rules& wanted);

/// Returns the rules of both families of each VLAN with a profile: the routes that the profile
/// allows go to every enabled protocol, except that no protocol gets its own routes.
Rules PlanRules(const documents::Profiles& profiles, const documents::ProtocolSets& enabled);

}  // namespace intent

#endif
