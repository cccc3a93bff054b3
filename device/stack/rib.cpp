#include "rib.h"

#include <algorithm>
#include <iterator>

#include "walks.h"

namespace routing_stack {

namespace {

const Prefix& PrefixOf(const CandidateKey& key) { return key.prefix; }
Prefix PrefixOf(const RibEntry& entry) { return entry.GetPrefix(); }
const Address& NextHopOf(const CandidateKey& key) { return key.nextHop; }
Address NextHopOf(const RibEntry& entry) { return entry.GetNextHop(); }

/// The order of the keys. What a prefix alone decides does not touch the next hops.
template <typename A, typename B>
bool ComesBefore(const A& a, const B& b) {
  if (PrefixOf(a) != PrefixOf(b)) {
    return PrefixOf(a) < PrefixOf(b);
  }
  if (a.proto != b.proto) {
    return a.proto < b.proto;
  }
  return NextHopOf(a) != NextHopOf(b) ? NextHopOf(a) < NextHopOf(b) : a.ifIndex < b.ifIndex;
}

/// Before every candidate of the prefix.
CandidateKey BeginOf(const Prefix& prefix) {
  CandidateKey begin;
  begin.prefix = prefix;
  return begin;
}

/// After every candidate of the prefix.
CandidateKey EndOf(const Prefix& prefix) {
  CandidateKey end;
  end.prefix = prefix;
  end.proto = UINT8_MAX;
  return end;
}

}  // namespace

RouteProtocol ToRouteProtocol(std::uint32_t proto) {
  switch (proto) {
    case kConnected:
      return RouteProtocol::kConnected;
    case kStatic:
      return RouteProtocol::kStatic;
    case kRip:
      return RouteProtocol::kRip;
    case kOspf:
      return RouteProtocol::kOspf;
    default:
      return RouteProtocol::kBgp;
  }
}

Protocol CodeOf(RouteProtocol protocol) {
  constexpr Protocol kCodes[kRouteProtocols] = {kConnected, kStatic, kRip, kOspf, kBgp};
  return kCodes[static_cast<std::size_t>(protocol)];
}

RibEntry::RibEntry(const CandidateKey& key, NextHop* nextHop, std::uint64_t now)
    : destination(key.prefix.address),
      via(nextHop),
      ifIndex(key.ifIndex),
      length(key.prefix.length),
      proto(key.proto),
      adminUp(true),
      internal(false),
      ranked(false),
      installed(false),
      beside(false),
      created(now) {}

bool Rib::ByKey::operator()(const RibEntry& a, const RibEntry& b) const {
  return ComesBefore(a, b);
}
bool Rib::ByKey::operator()(const RibEntry& a, const CandidateKey& b) const {
  return ComesBefore(a, b);
}
bool Rib::ByKey::operator()(const CandidateKey& a, const RibEntry& b) const {
  return ComesBefore(a, b);
}

std::uint32_t Distances::Of(std::uint32_t proto, bool internal) const {
  switch (proto) {
    case kConnected:
      return 0;
    case kStatic:
      return 1;
    case kRip:
      return rip;
    case kOspf:
      return internal ? ospfInternal : ospfExternal;
    default:
      return internal ? internalBgp : externalBgp;
  }
}

bool operator==(const Distances& a, const Distances& b) {
  return a.ospfInternal == b.ospfInternal && a.ospfExternal == b.ospfExternal &&
         a.externalBgp == b.externalBgp && a.internalBgp == b.internalBgp && a.rip == b.rip;
}

bool Rib::ByPreference::operator()(const RibEntry* a, const RibEntry* b) const {
  if (a->GetPrefix() != b->GetPrefix()) {
    return a->GetPrefix() < b->GetPrefix();
  }
  if (a->distance != b->distance) {
    return a->distance < b->distance;
  }
  if (a->metric != b->metric) {
    return a->metric < b->metric;
  }
  return ComesBefore(*a, *b);
}

void Rib::SetDistances(const Distances& distances) {
  if (distances == m_distances) {
    return;
  }
  m_distances = distances;
  m_ranking = true;
  m_rankingBegun = false;
}

void Rib::AddConnected(const Prefix& prefix, std::uint32_t ifIndex) {
  if (m_hops.AddConnected(prefix, ifIndex)) {
    CandidateKey key;
    key.prefix = prefix;
    key.proto = kConnected;
    key.ifIndex = ifIndex;
    const std::uint64_t now = m_clock();
    const auto added = m_entries.emplace(key, nullptr, now).first;
    m_counts.Came(RouteProtocol::kConnected);
    Place(At(added), {}, now);
  }
}

void Rib::RemoveConnected(const Prefix& prefix, std::uint32_t ifIndex) {
  if (m_hops.RemoveConnected(prefix, ifIndex)) {
    CandidateKey key;
    key.prefix = prefix;
    key.proto = kConnected;
    key.ifIndex = ifIndex;
    Remove(key);
  }
}

bool Rib::Put(const CandidateKey& key, const CandidateValues& values) {
  const std::uint64_t now = m_clock();
  const auto place = m_entries.lower_bound(key);
  if (place != m_entries.end() && !ByKey()(key, *place)) {
    Place(At(place), values, now);
    return false;
  }
  NextHop* const via = m_hops.Acquire(key.nextHop, key.ifIndex);
  RibEntry& added = At(m_entries.emplace_hint(place, key, via, now));
  via->fresh.PushBack(added);
  m_counts.Came(ToRouteProtocol(key.proto));
  Place(added, values, now);
  return true;
}

bool Rib::Remove(const CandidateKey& key) {
  const auto place = m_entries.find(key);
  if (place == m_entries.end()) {
    return false;
  }
  RibEntry& entry = At(place);
  RibEntry* const before = Best(key.prefix);
  Rank(entry, false, entry.GetValues());
  RibEntry* const after = Best(key.prefix);
  if (after != before || KnowsSeveral()) {
    Install(key.prefix, before, after, false, after != before ? m_clock() : 0);
  }
  m_counts.Went(ToRouteProtocol(key.proto));
  Free(place);
  return true;
}

// A set hands its members out as constants, for the sake of their order. What makes the order of
// this one is constant in an entry itself.
RibEntry& Rib::At(Entries::iterator place) { return const_cast<RibEntry&>(*place); }

void Rib::Free(Entries::iterator place) {
  const NextHop* const via = place->via;
  m_entries.erase(place);
  if (via != nullptr) {
    m_hops.Release(*via);
  }
}

RibEntry* Rib::Best(const Prefix& prefix) const {
  const auto first = m_ranked.lower_bound(prefix);
  return first != m_ranked.end() && (*first)->GetPrefix() == prefix ? *first : nullptr;
}

// Finds the best candidate again only where that may be a third one.
void Rib::Place(RibEntry& entry, const CandidateValues& values, std::uint64_t now) {
  const Prefix prefix = entry.GetPrefix();
  RibEntry* const before = Best(prefix);
  const std::uint32_t metricBefore = entry.metric;
  Rank(entry, IsEligible(entry, values), values);
  if (before == &entry) {
    Install(prefix, before, Best(prefix), entry.metric != metricBefore, now);
  } else if (entry.ranked && (before == nullptr || ByPreference()(&entry, before))) {
    Install(prefix, before, &entry, false, now);
  } else if (KnowsSeveral()) {
    Install(prefix, before, before, false, now);
  }
}

bool Rib::IsEligible(const RibEntry& entry, const CandidateValues& values) {
  return values.adminUp && (entry.via == nullptr || entry.via->usable);
}

void Rib::Rank(RibEntry& entry, bool eligible, const CandidateValues& values) {
  const std::uint32_t distance = m_distances.Of(entry.proto, values.internal);
  const bool keepsPlace =
      entry.ranked == eligible && entry.distance == distance && entry.metric == values.metric;
  if (entry.ranked && !keepsPlace) {
    m_ranked.erase(&entry);
  }
  entry.metric = values.metric;
  entry.adminUp = values.adminUp;
  entry.internal = values.internal;
  entry.distance = distance;
  entry.ranked = eligible;
  if (eligible && !keepsPlace) {
    m_ranked.insert(&entry);
  }
}

void Rib::Install(const Prefix& prefix, RibEntry* before, RibEntry* after, bool hasChanged,
                  std::uint64_t now) {
  const bool hasOthersBeside = KnowsSeveral() && ChooseBeside(prefix);
  if (after == before && !hasChanged && !hasOthersBeside) {
    return;
  }
  if (after != before && before != nullptr) {
    before->installed = false;
    m_counts.Uninstalled(ToRouteProtocol(before->proto));
  }
  if (after != before && after != nullptr) {
    after->installed = true;
    after->installedAt = now;
    m_counts.Installed(ToRouteProtocol(after->proto));
  }
  if (!IsHeard()) {
    return;
  }
  if (after != nullptr) {
    Tell(before == nullptr ? ForwardingChange::kCame : ForwardingChange::kReplaced, *after);
  } else if (before != nullptr) {
    Tell(ForwardingChange::kGone, *before);
  }
}

// Takes all candidates of the prefix at once. One by one, a candidate that is also about to lose
// its next hop would be installed in between.
//
// A next hop that has got another interface leaves its candidates where they are; who follows the
// forwarding table is told them once more. What leads over next hops that have not changed is what
// it was: another candidate of its prefix has got or lost its next hop.
void Rib::Refresh(const Prefix& prefix) {
  RibEntry* const before = Best(prefix);
  for (auto place = m_entries.lower_bound(BeginOf(prefix));
       place != m_entries.end() && place->GetPrefix() == prefix; ++place) {
    RibEntry& entry = At(place);
    Rank(entry, IsEligible(entry, entry.GetValues()), entry.GetValues());
    if (entry.via != nullptr) {
      entry.via->fresh.PushBack(entry);
    }
  }
  RibEntry* const after = Best(prefix);
  const bool mayHaveMoved = after != nullptr && after == before && HasMoved(*after);
  Install(prefix, before, after, mayHaveMoved, after != before ? m_clock() : 0);
}

void Rib::Work() {
  if (m_ranking) {
    RefreshNext();
    return;
  }
  if (Link* const candidate = m_hops.Work(IsHeard() || KnowsSeveral())) {
    Refresh(static_cast<RibEntry*>(candidate)->GetPrefix());
  }
}

void Rib::RefreshNext() {
  const auto next =
      m_rankingBegun ? m_entries.lower_bound(EndOf(m_refreshedUpTo)) : m_entries.begin();
  if (next == m_entries.end()) {
    m_ranking = false;
    return;
  }
  m_refreshedUpTo = next->GetPrefix();
  m_rankingBegun = true;
  Refresh(m_refreshedUpTo);
}

bool Rib::Shrink() {
  constexpr int kEntriesPerStep = 8;
  for (int i = 0; i < kEntriesPerStep && !m_beside.empty(); ++i) {
    m_beside.erase(m_beside.begin());
  }
  for (int i = 0; i < kEntriesPerStep && !m_ranked.empty(); ++i) {
    const RibEntry& entry = **m_ranked.begin();
    m_ranked.erase(m_ranked.begin());
    if (entry.installed && IsHeard()) {
      Tell(ForwardingChange::kGone, entry);
    }
  }
  const bool isForgotten = m_ranked.empty() && m_beside.empty();
  for (int i = 0; i < kEntriesPerStep && isForgotten && !m_entries.empty(); ++i) {
    Free(m_entries.begin());
  }
  return !m_entries.empty();
}

void Rib::Mute() {
  static Listener* const kNobody = nullptr;
  m_forwarding.listener = &kNobody;
}

void Rib::Tell(ForwardingChange change, const RibEntry& entry) const {
  const amb_cipr_rtm_route row = ToRouteRow(m_forwarding.instance, entry, m_clock());
  (*m_forwarding.listener)
      ->ForwardingChanged(change, row, BesideOf(entry.GetPrefix()), *m_forwarding.cause);
}

const RibEntry* Rib::Find(const CandidateKey& key) const {
  const auto place = m_entries.find(key);
  return place == m_entries.end() ? nullptr : &*place;
}

const RibEntry* Rib::After(const CandidateKey* key) const {
  const auto next = key == nullptr ? m_entries.begin() : m_entries.upper_bound(*key);
  return next == m_entries.end() ? nullptr : &*next;
}

const RibEntry* Rib::After(const RibEntry& entry) const {
  const auto next = m_entries.upper_bound(entry);
  return next == m_entries.end() ? nullptr : &*next;
}

const RibEntry* Rib::Installed(const Prefix& prefix) const {
  const auto first = m_ranked.find(prefix);
  return first != m_ranked.end() && (*first)->installed ? *first : nullptr;
}

std::vector<const RibEntry*> Rib::Preferred(const Prefix& prefix) const {
  const auto [first, last] = m_ranked.equal_range(prefix);
  std::vector<const RibEntry*> candidates(first, last);
  const auto eligible = static_cast<std::ptrdiff_t>(candidates.size());
  const auto end = m_entries.lower_bound(EndOf(prefix));
  for (auto place = m_entries.lower_bound(BeginOf(prefix)); place != end; ++place) {
    if (!place->ranked) {
      candidates.push_back(&*place);
    }
  }
  std::sort(candidates.begin() + eligible, candidates.end(), ByPreference());
  return candidates;
}

const RibEntry* Rib::LastUpTo(const Prefix& prefix, bool isEligible) const {
  if (isEligible) {
    const auto next = m_ranked.upper_bound(prefix);
    return next == m_ranked.begin() ? nullptr : *std::prev(next);
  }
  const auto next = m_entries.lower_bound(EndOf(prefix));
  return next == m_entries.begin() ? nullptr : &*std::prev(next);
}

// In the order of prefixes, those that hold an address come one in the other up to the address's
// own. The last one up to there is either the longest that holds the address, or shares its first
// bits only; then none of those before it that hold the address is longer than what is shared. A
// prefix with an eligible candidate has an installed one.
std::optional<Prefix> Rib::LongestMatch(const Address& address, bool isInstalled) const {
  Prefix bound = Prefix::Of(address, MaximalLength(Family::kIp6));
  while (const RibEntry* const last = LastUpTo(bound, isInstalled)) {
    const std::uint32_t shared = CommonLength(last->destination, address);
    if (shared >= last->length) {
      return last->GetPrefix();
    }
    bound = Prefix::Of(address, shared);
  }
  return std::nullopt;
}

}  // namespace routing_stack
