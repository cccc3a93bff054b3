// The VLANs that have routes to ask for, and the order in which they take turns.
#ifndef DEVICE_APPLY_ROUTE_LANES_H
#define DEVICE_APPLY_ROUTE_LANES_H

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

#include "differences.h"

namespace apply {

/// The routes of one VLAN in one set that are to be asked for.
struct RouteStretch {
  std::size_t next = 0;   // the position before which the VLAN has none of them
  std::size_t toAsk = 0;  // their number
};

/// What a plan says of one VLAN.
struct RouteWork {
  RouteStretch leaving;
  RouteStretch wanted;
  std::size_t removals = 0;  // of leaving routes: that are to be asked for, or under way

  std::size_t CountToAsk() const { return leaving.toAsk + wanted.toAsk; }
};

/// One VLAN. How many of its requests may be under way grows with those that are accepted, and
/// falls when one has to be tried again, so that a VLAN whose requests come to nothing does not
/// fill the window for the others.
class RouteLane {
 public:
  /// As many as one pass of the library's scheduler looks at.
  static constexpr std::size_t FIRST_QUOTA = 31;
  static constexpr std::size_t LARGEST_QUOTA = 1024;

  RouteWork work;

  void Asked(bool isRepeat) {
    ++m_underWay;
    m_repeats += isRepeat ? 1 : 0;
  }
  void Retried(bool isFirst) {
    m_retried += isFirst ? 1 : 0;
    m_quota = Differences::REPEATS_A_VLAN;
  }
  void Ended(bool wasRetried, bool wasRepeat, bool isDone) {
    --m_underWay;
    m_repeats -= wasRepeat ? 1 : 0;
    m_retried -= wasRetried ? 1 : 0;
    m_quota = std::min(m_quota + (isDone ? 1 : 0), LARGEST_QUOTA);
  }
  /// How many requests are still to be made or without an answer, repeats left out.
  std::size_t CountOpen() const { return work.CountToAsk() + m_underWay - m_repeats; }
  /// How many more requests may be made.
  std::size_t GetRoom() const {
    const std::size_t most = m_retried != 0 ? Differences::REPEATS_A_VLAN : m_quota;
    return most - std::min(most, m_underWay);
  }

 private:
  friend class RouteLanes;

  std::size_t m_underWay = 0;
  std::size_t m_repeats = 0;  // of these
  std::size_t m_retried = 0;
  std::size_t m_quota = FIRST_QUOTA;
  bool m_isAsking = false;
};

/// A lane stays where it is until Clear.
class RouteLanes {
 public:
  using Works = std::map<unsigned short, RouteWork>;

  RouteLane& Get(unsigned short vlan) { return m_lanes[vlan]; }
  /// Null if nothing was ever asked for the VLAN.
  const RouteLane* Find(unsigned short vlan) const;
  /// Gives every lane its work anew; none to those that `works` leaves out.
  void SetWorks(const Works& works);
  void Clear();

  /// The lane has something to ask for.
  void StartAsking(RouteLane& lane);
  /// Begins a round, in which each of these lanes has one turn.
  void BeginRound() { m_left = m_asking.size(); }
  /// The lane whose turn it is; null at the end of the round. The next round goes on after it.
  RouteLane* Next();

 private:
  std::map<unsigned short, RouteLane> m_lanes;
  std::vector<RouteLane*> m_asking;  // the lanes with something to ask for, and some without
  std::size_t m_next = 0;
  std::size_t m_left = 0;  // turns of the round
};

}  // namespace apply

#endif
