// Candidates as a whole, the longest match, and their numbers.

#include <algorithm>

#include "engine.h"

namespace routing_stack {

namespace {

RouteCandidate ToCandidate(std::uint32_t id, const RibEntry& entry, std::uint64_t now) {
  RouteCandidate candidate;
  candidate.instance = id;
  entry.destination.ToBytes(candidate.destination);
  candidate.prefixLength = entry.length;
  candidate.protocol = ToRouteProtocol(entry.proto);
  entry.GetNextHop().ToBytes(candidate.nextHop);
  candidate.requestedIfIndex = entry.ifIndex;
  candidate.ifIndex = entry.OutInterface();
  candidate.distance = entry.distance;
  candidate.metric = entry.metric;
  candidate.age = AgeOf(entry.created, now);
  candidate.installedAge = entry.installed ? AgeOf(entry.installedAt, now) : 0;
  candidate.isUp = entry.adminUp;
  candidate.isReached = entry.via == nullptr || entry.via->usable;
  candidate.isInstalled = entry.installed;
  candidate.isBeside = entry.beside;
  return candidate;
}

Prefix ToPrefix(const unsigned char (&destination)[16], std::uint32_t length, Family family) {
  return Prefix::Of(Address::FromBytes(destination, family),
                    std::min(length, MaximalLength(family)));
}

CandidateKey KeyOf(const RouteCandidate& candidate, Family family) {
  CandidateKey key;
  key.prefix = ToPrefix(candidate.destination, candidate.prefixLength, family);
  key.proto = static_cast<std::uint8_t>(CodeOf(candidate.protocol));
  key.ifIndex = candidate.requestedIfIndex;
  key.nextHop = Address::FromBytes(candidate.nextHop, family);
  return key;
}

}  // namespace

std::vector<RouteCandidate> Facts::CandidatesAfter(std::uint32_t instance,
                                                   const RouteCandidate* last,
                                                   std::size_t most) const {
  std::vector<RouteCandidate> candidates;
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  if (found == nullptr) {
    return candidates;
  }
  const CandidateKey key = last == nullptr ? CandidateKey{} : KeyOf(*last, found->family);
  found->rib.VisitAfter(last == nullptr ? nullptr : &key,
                        [&, now = m_engine.Now()](const RibEntry& entry) {
                          candidates.push_back(ToCandidate(instance, entry, now));
                          return candidates.size() < most;
                        });
  return candidates;
}

std::vector<RouteCandidate> Facts::CandidatesFrom(std::uint32_t instance, const RoutePrefix& prefix,
                                                  std::size_t most) const {
  std::vector<RouteCandidate> candidates;
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  if (found == nullptr) {
    return candidates;
  }
  found->rib.VisitFrom(ToPrefix(prefix.destination, prefix.length, found->family),
                       [&, now = m_engine.Now()](const RibEntry& entry) {
                         candidates.push_back(ToCandidate(instance, entry, now));
                         return candidates.size() < most;
                       });
  return candidates;
}

std::vector<RouteCandidate> Facts::CandidatesOf(std::uint32_t instance,
                                                const RoutePrefix& prefix) const {
  std::vector<RouteCandidate> candidates;
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  if (found == nullptr) {
    return candidates;
  }
  const std::uint64_t now = m_engine.Now();
  for (const RibEntry* const entry :
       found->rib.Preferred(ToPrefix(prefix.destination, prefix.length, found->family))) {
    candidates.push_back(ToCandidate(instance, *entry, now));
  }
  return candidates;
}

std::optional<RouteCandidate> Facts::InstalledOf(std::uint32_t instance,
                                                 const RoutePrefix& prefix) const {
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  const RibEntry* const entry =
      found == nullptr
          ? nullptr
          : found->rib.Installed(ToPrefix(prefix.destination, prefix.length, found->family));
  return entry == nullptr ? std::nullopt
                          : std::optional(ToCandidate(instance, *entry, m_engine.Now()));
}

std::vector<NextHopBeside> Facts::NextHopsBeside(std::uint32_t instance,
                                                 const RoutePrefix& prefix) const {
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  return found == nullptr
             ? std::vector<NextHopBeside>()
             : found->rib.BesideOf(ToPrefix(prefix.destination, prefix.length, found->family));
}

std::optional<RoutePrefix> Facts::LongestMatch(std::uint32_t instance,
                                               const unsigned char (&address)[16],
                                               bool isInstalled) const {
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  if (found == nullptr) {
    return std::nullopt;
  }
  const std::optional<Prefix> prefix =
      found->rib.LongestMatch(Address::FromBytes(address, found->family), isInstalled);
  if (!prefix) {
    return std::nullopt;
  }
  RoutePrefix longest;
  prefix->address.ToBytes(longest.destination);
  longest.length = prefix->length;
  return longest;
}

RouteCounts Facts::CountRoutes(std::uint32_t instance) const {
  const Instance* const found = m_engine.GetTables().FindInstance(instance);
  return found == nullptr ? RouteCounts() : found->rib.GetCounts();
}

RouteCounts Facts::CountRoutes() const { return m_engine.GetTables().GetRouteCounts(); }

}  // namespace routing_stack
