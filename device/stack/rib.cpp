#include "rib.h"

namespace routing_stack {

bool operator<(const CandidateKey& a, const CandidateKey& b) {
  if (a.prefix != b.prefix) {
    return a.prefix < b.prefix;
  }
  if (a.proto != b.proto) {
    return a.proto < b.proto;
  }
  return a.nextHop != b.nextHop ? a.nextHop < b.nextHop : a.ifIndex < b.ifIndex;
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
  if (a->key->prefix != b->key->prefix) {
    return a->key->prefix < b->key->prefix;
  }
  if (a->distance != b->distance) {
    return a->distance < b->distance;
  }
  if (a->values.metric != b->values.metric) {
    return a->values.metric < b->values.metric;
  }
  return *a->key < *b->key;
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
    Place(Add(key, {}), {});
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
  const auto entry = m_entries.find(key);
  if (entry != m_entries.end()) {
    Place(entry->second, values);
    return false;
  }
  RibEntry& added = Add(key, values);
  added.via = m_hops.Acquire(key.nextHop, key.ifIndex);
  added.via->fresh.PushBack(added);
  Place(added, values);
  return true;
}

bool Rib::Remove(const CandidateKey& reference) {
  const CandidateKey key = reference;  // it may be the entry's own
  const auto entry = m_entries.find(key);
  if (entry == m_entries.end()) {
    return false;
  }
  RibEntry* const before = Best(key.prefix);
  Rank(entry->second, false, entry->second.values);
  InstallBest(key.prefix, before);
  const bool hasNextHop = entry->second.via != nullptr;
  m_entries.erase(entry);
  if (hasNextHop) {
    m_hops.Release(key.nextHop, key.ifIndex);
  }
  return true;
}

RibEntry& Rib::Add(const CandidateKey& key, const CandidateValues& values) {
  const auto entry = m_entries.try_emplace(key).first;
  entry->second.key = &entry->first;
  entry->second.values = values;
  entry->second.created = m_clock();
  return entry->second;
}

RibEntry* Rib::Best(const Prefix& prefix) const {
  const auto first = m_ranked.lower_bound(prefix);
  return first != m_ranked.end() && (*first)->key->prefix == prefix ? *first : nullptr;
}

void Rib::Place(RibEntry& entry, const CandidateValues& values) {
  RibEntry* const before = Best(entry.key->prefix);
  Rank(entry, IsEligible(entry, values), values);
  InstallBest(entry.key->prefix, before);
}

bool Rib::IsEligible(const RibEntry& entry, const CandidateValues& values) {
  return values.adminUp && (entry.via == nullptr || entry.via->usable);
}

void Rib::Rank(RibEntry& entry, bool eligible, const CandidateValues& values) {
  const std::uint32_t distance = m_distances.Of(entry.key->proto, values.internal);
  const bool keepsPlace = entry.ranked == eligible && entry.distance == distance &&
                          entry.values.metric == values.metric;
  if (entry.ranked && !keepsPlace) {
    m_ranked.erase(&entry);
  }
  entry.values = values;
  entry.distance = distance;
  entry.ranked = eligible;
  if (eligible && !keepsPlace) {
    m_ranked.insert(&entry);
  }
}

void Rib::InstallBest(const Prefix& prefix, RibEntry* before) {
  RibEntry* const after = Best(prefix);
  if (after == before) {
    return;
  }
  if (before != nullptr) {
    before->installed = false;
  }
  if (after != nullptr) {
    after->installed = true;
    after->installedAt = m_clock();
  }
}

// Takes all candidates of the prefix at once. One by one, a candidate that is also about to lose
// its next hop would be installed in between.
void Rib::Refresh(const Prefix& prefix) {
  RibEntry* const before = Best(prefix);
  CandidateKey first;
  first.prefix = prefix;
  for (auto it = m_entries.lower_bound(first); it != m_entries.end() && it->first.prefix == prefix;
       ++it) {
    RibEntry& entry = it->second;
    Rank(entry, IsEligible(entry, entry.values), entry.values);
    if (entry.via != nullptr) {
      entry.via->fresh.PushBack(entry);
    }
  }
  InstallBest(prefix, before);
}

void Rib::Work() {
  if (m_ranking) {
    RefreshNext();
    return;
  }
  Link* const candidate = m_hops.Work();
  if (candidate != nullptr) {
    Refresh(static_cast<RibEntry*>(candidate)->key->prefix);
  }
}

void Rib::RefreshNext() {
  CandidateKey end;  // after every candidate of the last prefix
  end.prefix = m_refreshedUpTo;
  end.proto = UINT8_MAX;
  const auto next = m_rankingBegun ? m_entries.lower_bound(end) : m_entries.begin();
  if (next == m_entries.end()) {
    m_ranking = false;
    return;
  }
  m_refreshedUpTo = next->first.prefix;
  m_rankingBegun = true;
  Refresh(m_refreshedUpTo);
}

bool Rib::Shrink() {
  constexpr int kEntriesPerStep = 8;
  for (int i = 0; i < kEntriesPerStep && !m_ranked.empty(); ++i) {
    m_ranked.erase(m_ranked.begin());
  }
  for (int i = 0; i < kEntriesPerStep && m_ranked.empty() && !m_entries.empty(); ++i) {
    const CandidateKey key = m_entries.begin()->first;
    m_entries.erase(m_entries.begin());
    m_hops.Release(key.nextHop, key.ifIndex);
  }
  return !m_entries.empty();
}

const RibEntry* Rib::After(const CandidateKey* key) const {
  const auto next = key == nullptr ? m_entries.begin() : m_entries.upper_bound(*key);
  return next == m_entries.end() ? nullptr : &next->second;
}

const RibEntry* Rib::InstalledAfter(const Prefix* prefix) const {
  const auto next = prefix == nullptr ? m_ranked.begin() : m_ranked.upper_bound(*prefix);
  return next == m_ranked.end() ? nullptr : *next;
}

}  // namespace routing_stack
