#include "next_hops.h"

namespace routing_stack {

namespace {

const Address kLowest{};
const Address kHighest{~std::uint64_t{0}, ~std::uint64_t{0}};

}  // namespace

void NextHops::SetInterface(std::uint32_t ifIndex, bool up) {
  const bool changed = up ? m_up.insert(ifIndex).second : m_up.erase(ifIndex) != 0;
  if (changed) {
    m_ranges.push_back({{ifIndex, kLowest}, kHighest, false});
  }
}

bool NextHops::AddConnected(const Prefix& prefix, std::uint32_t ifIndex) {
  if (++m_connected[{prefix, ifIndex}] != 1) {
    return false;
  }
  ++m_lengths[prefix.length];
  ResolveCovered(prefix, ifIndex);
  return true;
}

bool NextHops::RemoveConnected(const Prefix& prefix, std::uint32_t ifIndex) {
  const auto connected = m_connected.find({prefix, ifIndex});
  if (connected == m_connected.end() || --connected->second != 0) {
    return false;
  }
  m_connected.erase(connected);
  const auto length = m_lengths.find(prefix.length);
  if (--length->second == 0) {
    m_lengths.erase(length);
  }
  ResolveCovered(prefix, ifIndex);
  return true;
}

void NextHops::ResolveCovered(const Prefix& prefix, std::uint32_t ifIndex) {
  m_ranges.push_back({{0, prefix.First()}, prefix.Last(), false});
  if (ifIndex != 0) {
    m_ranges.push_back({{ifIndex, prefix.First()}, prefix.Last(), false});
  }
}

NextHop* NextHops::Acquire(const Address& address, std::uint32_t ifIndex) {
  const auto [hop, isNew] = m_hops.try_emplace({ifIndex, address});
  if (isNew) {
    hop->second.key = &hop->first;
    Resolve(hop->first, hop->second);
  }
  return &hop->second;
}

void NextHops::Release(const NextHop& hop) {
  if (hop.fresh.IsAlone() && hop.stale.IsAlone()) {
    m_hops.erase(m_hops.find(*hop.key));
  }
}

Link* NextHops::Work(bool tellsMoves) {
  if (!m_ranges.empty()) {
    ResolveNext(tellsMoves);
    return nullptr;
  }
  if (m_changed.IsAlone()) {
    return nullptr;
  }
  NextHop& hop = *static_cast<NextHop*>(m_changed.Front());
  if (hop.stale.IsAlone()) {
    hop.Unlink();
    return nullptr;
  }
  Link* candidate = hop.stale.Front();
  hop.fresh.PushBack(*candidate);
  return candidate;
}

void NextHops::ResolveNext(bool tellsMoves) {
  Range& range = m_ranges.front();
  const auto next = range.begun ? m_hops.upper_bound(range.next) : m_hops.lower_bound(range.next);
  if (next == m_hops.end() || next->first.ifIndex != range.next.ifIndex ||
      range.last < next->first.address) {
    m_ranges.pop_front();
    return;
  }
  range.next = next->first;
  range.begun = true;

  NextHop& hop = next->second;
  const bool wasUsable = hop.usable;
  const std::uint32_t interfaceBefore = hop.outInterface;
  Resolve(next->first, hop);
  const bool hasMoved = hop.outInterface != interfaceBefore;
  if (hop.usable != wasUsable || (hasMoved && tellsMoves)) {
    hop.stale.TakeAll(hop.fresh);
    m_changed.PushBack(hop);
  }
}

void NextHops::Resolve(const NextHopKey& key, NextHop& hop) const {
  const auto& [ifIndex, address] = key;
  if (ifIndex == 0) {
    hop.outInterface = address.IsUnspecified() ? 0 : LongestConnected(address);
    hop.usable = hop.outInterface != 0;
    return;
  }
  hop.outInterface = ifIndex;
  hop.usable = m_up.count(ifIndex) != 0 && IsOnLink(address, ifIndex);
}

std::uint32_t NextHops::LongestConnected(const Address& address) const {
  for (const auto& [length, count] : m_lengths) {
    const Prefix prefix = Prefix::Of(address, length);
    const auto connected = m_connected.lower_bound({prefix, 0});
    if (connected != m_connected.end() && connected->first.first == prefix) {
      return connected->first.second;
    }
  }
  return 0;
}

bool NextHops::IsOnLink(const Address& address, std::uint32_t ifIndex) const {
  if (address.IsUnspecified() || (m_family == Family::kIp6 && address.IsLinkLocal())) {
    return true;
  }
  for (const auto& [length, count] : m_lengths) {
    if (m_connected.count({Prefix::Of(address, length), ifIndex}) != 0) {
      return true;
    }
  }
  return false;
}

}  // namespace routing_stack
