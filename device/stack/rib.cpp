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
    Place(Add(key, {}));
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
    Place(entry->second, values.adminUp && entry->second.via->usable, values);
    return false;
  }
  RibEntry& added = Add(key, values);
  NextHop* hop = m_hops.Acquire(key.nextHop, key.ifIndex);
  added.via = hop;
  hop->settled.PushBack(added);
  Place(added);
  return true;
}

bool Rib::Remove(const CandidateKey& key) {
  const auto entry = m_entries.find(key);
  if (entry == m_entries.end()) {
    return false;
  }
  Place(entry->second, false, entry->second.values);
  entry->second.Unlink();
  if (entry->second.via != nullptr) {
    m_hops.Release(key.nextHop, key.ifIndex);
  }
  m_entries.erase(entry);
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

void Rib::Place(RibEntry& entry) {
  Place(entry, entry.values.adminUp && (entry.via == nullptr || entry.via->usable), entry.values);
}

void Rib::Place(RibEntry& entry, bool eligible, const CandidateValues& values) {
  RibEntry* const before = Best(entry.key->prefix);
  if (entry.ranked) {
    m_ranked.erase(&entry);
  }
  entry.values = values;
  entry.distance = m_distances.Of(entry.key->proto, values.internal);
  entry.ranked = eligible;
  if (eligible) {
    m_ranked.insert(&entry);
  }
  RibEntry* const after = Best(entry.key->prefix);
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

void Rib::Work() {
  if (m_ranking) {
    RankNext();
    return;
  }
  Link* const candidate = m_hops.Work();
  if (candidate != nullptr) {
    Place(*static_cast<RibEntry*>(candidate));
  }
}

void Rib::RankNext() {
  const auto next = m_rankingBegun ? m_entries.upper_bound(m_rankedUpTo) : m_entries.begin();
  if (next == m_entries.end()) {
    m_ranking = false;
    return;
  }
  m_rankedUpTo = next->first;
  m_rankingBegun = true;
  RibEntry& entry = next->second;
  if (entry.distance != m_distances.Of(entry.key->proto, entry.values.internal)) {
    Place(entry);
  }
}

bool Rib::Shrink() {
  constexpr int kEntriesPerStep = 16;
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
