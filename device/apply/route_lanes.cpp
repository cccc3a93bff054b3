#include "route_lanes.h"

namespace apply {

const RouteLane* RouteLanes::Find(unsigned short vlan) const {
  const auto found = m_lanes.find(vlan);
  return found == m_lanes.end() ? nullptr : &found->second;
}

void RouteLanes::SetWorks(const Works& works) {
  for (auto& [vlan, lane] : m_lanes) {
    lane.work = {};
  }
  auto place = m_lanes.begin();
  for (const auto& [vlan, work] : works) {
    place = m_lanes.try_emplace(place, vlan);
    place->second.work = work;
    if (work.CountToAsk() != 0) {
      StartAsking(place->second);
    }
    ++place;
  }
}

void RouteLanes::Clear() {
  m_lanes.clear();
  m_asking.clear();
}

void RouteLanes::StartAsking(RouteLane& lane) {
  if (!lane.m_isAsking) {
    lane.m_isAsking = true;
    m_asking.push_back(&lane);
  }
}

RouteLane* RouteLanes::Next() {
  while (m_left != 0 && !m_asking.empty()) {
    m_next = m_next < m_asking.size() ? m_next : 0;
    RouteLane* const lane = m_asking[m_next];
    --m_left;
    if (lane->work.CountToAsk() != 0) {
      ++m_next;
      return lane;
    }
    lane->m_isAsking = false;
    m_asking[m_next] = m_asking.back();
    m_asking.pop_back();
  }
  return nullptr;
}

}  // namespace apply
