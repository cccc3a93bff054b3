#include "route_lanes.h"

namespace routes {

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
    for (const Asking what : {Asking::ADDITIONS, Asking::REMOVALS}) {
      if (work.Of(what).toAsk != 0) {
        StartAsking(place->second, what);
      }
    }
    ++place;
  }
}

void RouteLanes::StartAsking(RouteLane& lane, Asking what) {
  bool& isAsking = lane.m_isAsking[static_cast<std::size_t>(what)];
  if (!isAsking) {
    isAsking = true;
    QueueOf(what).lanes.push_back(&lane);
  }
}

void RouteLanes::BeginRound(Asking what) {
  Queue& queue = QueueOf(what);
  queue.left = queue.lanes.size();
}

RouteLane* RouteLanes::Next(Asking what) {
  Queue& queue = QueueOf(what);
  while (queue.left != 0 && !queue.lanes.empty()) {
    queue.next = queue.next < queue.lanes.size() ? queue.next : 0;
    RouteLane* const lane = queue.lanes[queue.next];
    --queue.left;
    if (lane->work.Of(what).toAsk != 0) {
      ++queue.next;
      return lane;
    }
    lane->m_isAsking[static_cast<std::size_t>(what)] = false;
    queue.lanes[queue.next] = queue.lanes.back();
    queue.lanes.pop_back();
  }
  return nullptr;
}

}  // namespace routes
