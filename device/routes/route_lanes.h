// The VLANs that have routes to ask for, and the order in which they take turns.
#ifndef DEVICE_ROUTES_ROUTE_LANES_H
#define DEVICE_ROUTES_ROUTE_LANES_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <vector>

#include "device/rows/differences.h"

namespace routes {

/// What is asked of a route: that the stack has it, or that it has it no more.
enum class Asking : unsigned char { ADDITIONS, REMOVALS };

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
  std::size_t awaiting = 0;  // leaving routes, for the answers to requests for others
  std::size_t kept = 0;      // leaving routes that none of the others can replace yet

  std::size_t CountToAsk() const { return leaving.toAsk + wanted.toAsk; }
  RouteStretch& Of(Asking what) { return what == Asking::ADDITIONS ? wanted : leaving; }
  const RouteStretch& Of(Asking what) const { return what == Asking::ADDITIONS ? wanted : leaving; }
};

/// One VLAN. How many of its requests may be under way grows with those that are accepted, and
/// falls when one has to be tried again, so that a VLAN whose requests come to nothing does not
/// fill the window for the others.
class RouteLane {
 public:
  /// As many as one pass of the library's scheduler looks at.
  static constexpr std::size_t FIRST_QUOTA = 31;
  static constexpr std::size_t LARGEST_QUOTA = 1024;
  /// So much of the window is kept for VLANs with fewer than FIRST_QUOTA under way: what is never
  /// answered in a few VLANs would fill all of it.
  static constexpr std::size_t KEPT_FOR_OTHERS = 1024;

  RouteWork work;

  void Asked(bool isRepeat) {
    ++m_underWay;
    m_repeats += isRepeat ? 1 : 0;
  }
  void Retried(bool isFirst) {
    m_retried += isFirst ? 1 : 0;
    m_quota = rows::Differences::REPEATS_A_VLAN;
  }
  void Ended(bool wasRetried, bool wasRepeat, bool isDone) {
    --m_underWay;
    m_repeats -= wasRepeat ? 1 : 0;
    m_retried -= wasRetried ? 1 : 0;
    m_quota = std::min(m_quota + (isDone ? 1 : 0), LARGEST_QUOTA);
  }
  /// How many requests are still to be made or without an answer, repeats left out.
  std::size_t CountOpen() const {
    return work.CountToAsk() + work.awaiting + m_underWay - m_repeats;
  }
  std::size_t CountUnderWay() const { return m_underWay; }
  /// How many more requests may be made, if so many fit into the window.
  std::size_t GetRoom(std::size_t window) const {
    const std::size_t most = m_retried != 0 ? rows::Differences::REPEATS_A_VLAN : m_quota;
    const std::size_t free = window - std::min(window, KEPT_FOR_OTHERS);
    const std::size_t first = FIRST_QUOTA - std::min(FIRST_QUOTA, m_underWay);
    return std::min({most - std::min(most, m_underWay), window, std::max(free, first)});
  }

 private:
  friend class RouteLanes;

  std::size_t m_underWay = 0;
  std::size_t m_repeats = 0;  // of these
  std::size_t m_retried = 0;
  std::size_t m_quota = FIRST_QUOTA;
  std::array<bool, 2> m_isAsking{};  // by Asking
};

/// Additions and removals have an order of their own, because removals may have to wait. A lane
/// stays where it is as long as its object.
class RouteLanes {
 public:
  using Works = std::map<unsigned short, RouteWork>;

  RouteLane& Get(unsigned short vlan) { return m_lanes[vlan]; }
  /// Null if nothing was ever asked for the VLAN.
  const RouteLane* Find(unsigned short vlan) const;
  /// Gives every lane its work anew; none to those that `works` leaves out.
  void SetWorks(const Works& works);

  /// The lane has something of that to ask for.
  void StartAsking(RouteLane& lane, Asking what);
  /// Begins a round, in which each of these lanes has one turn.
  void BeginRound(Asking what);
  /// The lane whose turn it is; null at the end of the round. The next round goes on after it.
  RouteLane* Next(Asking what);

 private:
  struct Queue {
    std::vector<RouteLane*> lanes;  // those with something to ask for, and some without
    std::size_t next = 0;
    std::size_t left = 0;  // turns of the round
  };
  Queue& QueueOf(Asking what) { return m_queues[static_cast<std::size_t>(what)]; }

  std::map<unsigned short, RouteLane> m_lanes;
  std::array<Queue, 2> m_queues;  // by Asking
};

}  // namespace routes

#endif
