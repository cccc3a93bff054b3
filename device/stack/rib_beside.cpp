// What stands beside the installed candidates.

#include <algorithm>
#include <utility>

#include "rib.h"

namespace routing_stack {

namespace {

bool AreEqual(const RibEntry& a, const RibEntry& b) {
  return a.distance == b.distance && a.metric == b.metric && a.proto == b.proto &&
         a.GetPrefix() == b.GetPrefix();
}

bool HasNextHop(const RibEntry& entry) {
  return entry.via != nullptr && !entry.via->key->address.IsUnspecified();
}

}  // namespace

// What stands is chosen anew in steps, as with other distances.
void Rib::SetMostNextHops(std::size_t most) {
  if (most == m_mostNextHops) {
    return;
  }
  m_mostNextHops = most;
  m_ranking = !m_entries.empty();
  m_rankingBegun = false;
}

// Of equal candidates with the same next hop the one whose interface is to be found comes first, and
// is the only one that can be reached over the same interface as another.
std::vector<RibEntry*> Rib::FindBeside(const Prefix& prefix) const {
  std::vector<RibEntry*> beside;
  auto next = m_ranked.lower_bound(prefix);
  if (m_mostNextHops == 1 || next == m_ranked.end() || (*next)->GetPrefix() != prefix ||
      !HasNextHop(**next)) {
    return beside;
  }
  const RibEntry& best = **next;
  const RibEntry* found = best.ifIndex == 0 ? &best : nullptr;  // the last one of these
  while (++next != m_ranked.end() && beside.size() + 1 < m_mostNextHops && AreEqual(best, **next)) {
    RibEntry& one = **next;
    if (one.ifIndex == 0) {
      found = &one;
    } else if (found != nullptr && found->GetNextHop() == one.GetNextHop() &&
               found->OutInterface() == one.ifIndex) {
      continue;
    }
    beside.push_back(&one);
  }
  return beside;
}

bool Rib::ChooseBeside(const Prefix& prefix) {
  std::vector<RibEntry*> chosen = FindBeside(prefix);
  const auto before = m_beside.find(prefix);
  if (before == m_beside.end() ? chosen.empty() : before->second == chosen) {
    return false;
  }
  std::vector<RibEntry*>& kept = m_beside[prefix];
  for (RibEntry* const entry : kept) {
    entry->beside = false;
  }
  for (RibEntry* const entry : chosen) {
    entry->beside = true;
  }
  kept.swap(chosen);
  if (kept.empty()) {
    m_beside.erase(prefix);
  }
  return true;
}

bool Rib::HasMoved(const RibEntry& best) const {
  const auto has = [](const RibEntry* entry) {
    return entry->via != nullptr && !entry->via->IsAlone();
  };
  if (has(&best)) {
    return true;
  }
  const auto beside = m_beside.empty() ? m_beside.end() : m_beside.find(best.GetPrefix());
  return beside != m_beside.end() && std::any_of(beside->second.begin(), beside->second.end(), has);
}

std::vector<NextHopBeside> Rib::BesideOf(const Prefix& prefix) const {
  std::vector<NextHopBeside> hops;
  const auto beside = m_beside.empty() ? m_beside.end() : m_beside.find(prefix);
  if (beside != m_beside.end()) {
    for (const RibEntry* const entry : beside->second) {
      NextHopBeside hop;
      entry->GetNextHop().ToBytes(hop.nextHop);
      hop.ifIndex = entry->OutInterface();
      hops.push_back(hop);
    }
  }
  return hops;
}

}  // namespace routing_stack
