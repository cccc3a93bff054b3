#include "stack_tables.h"

#include <algorithm>
#include <iterator>

#include "device/rows/row.h"
#include "stack_rows.h"

namespace ports {

using routing_stack::RedistributionRow;
using routing_stack::RouteCandidate;
using routing_stack::RoutePrefix;
using routing_stack::RouteProtocol;

static_assert(views::PROTOCOLS == routing_stack::kRouteProtocols &&
                  static_cast<int>(views::Protocol::RIP) == static_cast<int>(RouteProtocol::kRip) &&
                  static_cast<int>(views::Protocol::BGP) == static_cast<int>(RouteProtocol::kBgp),
              "both name the protocols in one order");

namespace {

views::Candidate ToCandidate(unsigned short vlan, bool ip6, const RouteCandidate& from) {
  views::Candidate candidate;
  candidate.target = {vlan, ip6, static_cast<unsigned char>(from.prefixLength),
                      ToAddress(from.destination), ToAddress(from.nextHop)};
  candidate.protocol = static_cast<views::Protocol>(from.protocol);
  candidate.requestedIfIndex = from.requestedIfIndex;
  candidate.ifIndex = from.ifIndex;
  candidate.distance = from.distance;
  candidate.metric = from.metric;
  candidate.ageSeconds = from.isInstalled ? from.installedAge : from.age;
  candidate.isUp = from.isUp;
  candidate.isReached = from.isReached;
  candidate.isInstalled = from.isInstalled || from.isBeside;
  candidate.isBeside = from.isBeside;
  return candidate;
}

std::vector<views::Candidate> ToCandidates(unsigned short vlan, bool ip6,
                                           const std::vector<RouteCandidate>& from) {
  std::vector<views::Candidate> candidates;
  candidates.reserve(from.size());
  for (const RouteCandidate& one : from) {
    candidates.push_back(ToCandidate(vlan, ip6, one));
  }
  return candidates;
}

RouteCandidate KeyOf(const views::Candidate& candidate) {
  RouteCandidate key;
  Copy(candidate.target.destination, key.destination);
  key.prefixLength = candidate.target.length;
  key.protocol = static_cast<RouteProtocol>(candidate.protocol);
  Copy(candidate.target.gateway, key.nextHop);
  key.requestedIfIndex = candidate.requestedIfIndex;
  return key;
}

RoutePrefix KeyOf(const views::Prefix& prefix) {
  RoutePrefix key;
  Copy(prefix.address.bytes, key.destination);
  key.length = prefix.length;
  return key;
}

views::RouteCounts ToCounts(const routing_stack::RouteCounts& from) {
  return {from.candidates, from.installed};
}

/// The protocol whose routes a rule hands on. Nothing for a code that the stack has no routes of:
/// the stack stores rules with any.
std::optional<views::Protocol> SourceOf(std::uint32_t code) {
  constexpr std::uint32_t CODES[views::PROTOCOLS] = {intent::CODE_CONNECTED, intent::CODE_STATIC,
                                                     intent::CODE_RIP, intent::CODE_OSPF,
                                                     intent::CODE_BGP};
  const auto known = std::find(std::begin(CODES), std::end(CODES), code);
  if (known == std::end(CODES)) {
    return std::nullopt;
  }
  return static_cast<views::Protocol>(known - std::begin(CODES));
}

}  // namespace

std::vector<views::Candidate> StackTables::ReadCandidates(unsigned short vlan, bool ip6,
                                                          const views::Candidate* last,
                                                          std::size_t most) const {
  const RouteCandidate key = last == nullptr ? RouteCandidate() : KeyOf(*last);
  return ToCandidates(
      vlan, ip6,
      m_facts.CandidatesAfter(InstanceOf(vlan, ip6), last == nullptr ? nullptr : &key, most));
}

std::vector<views::Candidate> StackTables::ReadCandidatesFrom(unsigned short vlan,
                                                              const views::Prefix& from,
                                                              std::size_t most) const {
  const bool ip6 = from.address.ip6;
  return ToCandidates(vlan, ip6, m_facts.CandidatesFrom(InstanceOf(vlan, ip6), KeyOf(from), most));
}

std::vector<views::Candidate> StackTables::FindCandidates(unsigned short vlan,
                                                          const views::Prefix& prefix) const {
  const bool ip6 = prefix.address.ip6;
  return ToCandidates(vlan, ip6, m_facts.CandidatesOf(InstanceOf(vlan, ip6), KeyOf(prefix)));
}

std::optional<views::Candidate> StackTables::FindInstalled(unsigned short vlan,
                                                           const views::Prefix& prefix) const {
  const bool ip6 = prefix.address.ip6;
  const std::optional<RouteCandidate> found =
      m_facts.InstalledOf(InstanceOf(vlan, ip6), KeyOf(prefix));
  return found ? std::optional(ToCandidate(vlan, ip6, *found)) : std::nullopt;
}

std::optional<views::Prefix> StackTables::FindLongest(unsigned short vlan,
                                                      const views::Address& address,
                                                      bool isInstalled) const {
  unsigned char bytes[16];
  Copy(address.bytes, bytes);
  const std::optional<RoutePrefix> longest =
      m_facts.LongestMatch(InstanceOf(vlan, address.ip6), bytes, isInstalled);
  if (!longest) {
    return std::nullopt;
  }
  return views::Prefix{{address.ip6, ToAddress(longest->destination)},
                       static_cast<unsigned char>(longest->length)};
}

views::RouteCounts StackTables::Count(unsigned short vlan, bool ip6) const {
  return ToCounts(m_facts.CountRoutes(InstanceOf(vlan, ip6)));
}

views::RouteCounts StackTables::CountAll() const { return ToCounts(m_facts.CountRoutes()); }

std::vector<views::HandedOn> StackTables::ReadHandedOn(unsigned short vlan, bool ip6) const {
  constexpr std::size_t SLICE = 32;
  std::vector<views::HandedOn> handedOn;
  const std::uint32_t instance = InstanceOf(vlan, ip6);
  // Before all of the instance; nothing is before the first one.
  RedistributionRow last{instance - 1, UINT32_MAX, UINT32_MAX};
  for (bool isFirst = instance == 0;; isFirst = false) {
    const std::vector<RedistributionRow> rules =
        m_facts.RedistributionsAfter(isFirst ? nullptr : &last, SLICE);
    for (const RedistributionRow& rule : rules) {
      if (rule.vlan != instance) {
        return handedOn;
      }
      const std::optional<views::Protocol> source = SourceOf(rule.source);
      if (rule.isUp && source) {
        handedOn.push_back({*source, rule.destination});
      }
    }
    if (rules.empty()) {
      return handedOn;
    }
    last = rules.back();
  }
}

}  // namespace ports
