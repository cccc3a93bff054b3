#include "route_book.h"

#include <algorithm>
#include <utility>

namespace apply {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;

namespace {

constexpr RouteState NEVER_ASKED{RouteState::NEVER_ASKED, 0};
constexpr RouteState SETTLED{RouteState::SETTLED, 0};

// The routes of two sets in one order. Those that have gone are left out.
class KnownRoutes {
 public:
  KnownRoutes(const RouteSet& wanted, const RouteSet& leaving)
      : m_wanted(wanted), m_leaving(leaving) {
    SkipGone();
  }

  bool HasMore() const {
    return m_at != m_wanted.states.size() || m_atLeaving != m_leaving.states.size();
  }
  bool IsWanted() const {
    return m_atLeaving == m_leaving.states.size() ||
           (m_at != m_wanted.states.size() &&
            CompareRoutes(m_wanted.At(m_at), m_leaving.At(m_atLeaving)) < 0);
  }
  const ResolvedRoute& Get() const {
    return IsWanted() ? m_wanted.At(m_at) : m_leaving.At(m_atLeaving);
  }
  RouteState GetState() const {
    return IsWanted() ? m_wanted.states[m_at] : m_leaving.states[m_atLeaving];
  }
  void Advance() {
    if (IsWanted()) {
      ++m_at;
    } else {
      ++m_atLeaving;
      SkipGone();
    }
  }

 private:
  void SkipGone() {
    while (m_atLeaving != m_leaving.states.size() &&
           m_leaving.states[m_atLeaving].kind == RouteState::SETTLED) {
      ++m_atLeaving;
    }
  }

  const RouteSet& m_wanted;
  const RouteSet& m_leaving;
  std::size_t m_at = 0;
  std::size_t m_atLeaving = 0;
};

// Of a route that is wanted from now on. What is under way stays so: its answer will show whether
// it was for what is wanted then.
RouteState StateOfWanted(const KnownRoutes& known, std::uint32_t metric) {
  const RouteState state = known.GetState();
  if (state.kind == RouteState::UNDER_WAY) {
    return state;
  }
  const bool isSame = known.IsWanted() && known.Get().metric == metric;
  return isSame || state.kind == RouteState::NEVER_ASKED ? state
                                                         : RouteState::ToAsk(state.HasGivenUp());
}

// Of a known route that is not wanted. One that has never been asked for is forgotten. A request
// that was given up may have changed the stack all the same, and its item is still in the library:
// asking for the removal ends both.
void Leave(const KnownRoutes& known, ResolvedRoutes& routes, std::vector<RouteState>& states) {
  const RouteState state = known.GetState();
  if (state.kind == RouteState::NEVER_ASKED) {
    return;
  }
  const bool stays = !known.IsWanted() || state.kind == RouteState::UNDER_WAY;
  routes.push_back(known.Get());
  states.push_back(stays ? state : RouteState::ToAsk(state.HasGivenUp()));
}

bool IsRemoval(const RouteState& state) {
  return state.IsToAsk() || state.kind == RouteState::UNDER_WAY;
}

}  // namespace

void RouteBook::Make(Plan& plan, intent::SharedRoutes wanted) noexcept {
  KnownRoutes known(plan.wanted, plan.leaving);
  std::vector<RouteState> states;
  states.reserve(wanted->size());
  ResolvedRoutes leaving;
  std::vector<RouteState> leavingStates;
  for (const ResolvedRoute& route : *wanted) {
    int order = -1;
    while (known.HasMore() && (order = CompareRoutes(known.Get(), route)) < 0) {
      Leave(known, leaving, leavingStates);
      known.Advance();
    }
    if (known.HasMore() && order == 0) {
      states.push_back(StateOfWanted(known, route.metric));
      known.Advance();
    } else {
      states.push_back(NEVER_ASKED);
    }
  }
  for (; known.HasMore(); known.Advance()) {
    Leave(known, leaving, leavingStates);
  }
  plan.wanted = {std::move(wanted), std::move(states)};
  plan.leaving = {std::make_shared<const ResolvedRoutes>(std::move(leaving)),
                  std::move(leavingStates)};
  AddWorks(plan.leaving, true, plan.works);
  AddWorks(plan.wanted, false, plan.works);
}

void RouteBook::AddWorks(const RouteSet& set, bool isLeaving, RouteLanes::Works& works) {
  RouteWork* work = nullptr;
  unsigned short vlan = 0;
  for (std::size_t i = 0; i < set.states.size(); ++i) {
    const RouteState& state = set.states[i];
    const bool isToAsk = state.IsToAsk();
    if (!isToAsk && !(isLeaving && IsRemoval(state))) {
      continue;
    }
    if (work == nullptr || set.At(i).target.vlan != vlan) {
      vlan = set.At(i).target.vlan;
      work = &works[vlan];
    }
    work->removals += isLeaving ? 1 : 0;
    RouteStretch& stretch = isLeaving ? work->leaving : work->wanted;
    if (isToAsk && stretch.toAsk++ == 0) {
      stretch.next = i;
    }
  }
}

void RouteBook::CarryOut(Plan& plan) {
  std::swap(m_wanted, plan.wanted);
  std::swap(m_leaving, plan.leaving);
  ++m_edition;
  m_left = m_leaving.states.size();
  m_lanes.SetWorks(plan.works);
  m_toAsk = 0;
  for (const auto& work : plan.works) {
    m_toAsk += work.second.CountToAsk();
  }
  AdoptStrays();
}

// A stray's removal is under way or was given up.
void RouteBook::AdoptStrays() {
  for (auto stray = m_strays.begin(); stray != m_strays.end();) {
    const auto& [row, state] = *stray;
    RouteLane& lane = m_lanes.Get(row.target.vlan);
    const std::size_t position = m_wanted.Find(row);
    const bool isUnderWay = state.kind == RouteState::UNDER_WAY;
    if (position == RouteSet::NONE) {
      lane.work.removals += isUnderWay ? 1 : 0;
      ++stray;
      continue;
    }
    if (isUnderWay) {
      Set({Place::WANTED, position}, row, lane, state);
    }
    stray = m_strays.erase(stray);
  }
}

RouteBook::Place RouteBook::Find(const RouteRow& row) const {
  std::size_t position = m_wanted.Find(row);
  if (position != RouteSet::NONE) {
    return {Place::WANTED, position};
  }
  position = m_leaving.Find(row);
  if (position != RouteSet::NONE) {
    return {Place::LEAVING, position};
  }
  return {m_strays.count(row) != 0 ? Place::STRAY : Place::NOWHERE, 0};
}

RouteState RouteBook::StateOf(const Place& place, const RouteRow& row) const {
  switch (place.where) {
    case Place::WANTED:
      return m_wanted.states[place.position];
    case Place::LEAVING:
      return m_leaving.states[place.position];
    default:
      return m_strays.at(row);
  }
}

RouteState& RouteBook::At(const Place& place, const RouteRow& row) {
  switch (place.where) {
    case Place::WANTED:
      return m_wanted.states[place.position];
    case Place::LEAVING:
      return m_leaving.states[place.position];
    default:
      return m_strays.try_emplace(row, SETTLED).first->second;
  }
}

void RouteBook::Set(const Place& place, const RouteRow& row, RouteLane& lane, RouteState state) {
  RouteState& present = At(place, row);
  const bool isWanted = place.where == Place::WANTED;
  RouteStretch& stretch = isWanted ? lane.work.wanted : lane.work.leaving;
  if (!isWanted) {
    lane.work.removals += IsRemoval(state) ? 1 : 0;
    lane.work.removals -= IsRemoval(present) ? 1 : 0;
  }
  if (present.IsToAsk()) {
    --stretch.toAsk;
    --m_toAsk;
  }
  if (state.IsToAsk()) {
    stretch.next = stretch.toAsk == 0 ? place.position : std::min(stretch.next, place.position);
    ++stretch.toAsk;
    ++m_toAsk;
    m_lanes.StartAsking(lane);
  }
  const bool wasThere = present.kind != RouteState::SETTLED;
  present = state;
  const bool isThere = state.kind != RouteState::SETTLED;
  if (place.where == Place::LEAVING && wasThere != isThere) {
    m_left += isThere ? 1 : 0;
    Gone(isThere ? 0 : 1);
  } else if (!isWanted && place.where != Place::LEAVING && !isThere) {
    m_strays.erase(row);
  }
}

void RouteBook::Gone(std::size_t count) {
  m_left -= count;
  if (m_left == 0) {
    m_leaving = {};
    ++m_edition;
  }
}

RouteBook::Place RouteBook::NextToAsk(RouteLane& lane) const {
  const bool isLeaving = lane.work.leaving.toAsk != 0;
  const RouteSet& set = isLeaving ? m_leaving : m_wanted;
  std::size_t& next = isLeaving ? lane.work.leaving.next : lane.work.wanted.next;
  while (!set.states[next].IsToAsk()) {
    ++next;
  }
  return {isLeaving ? Place::LEAVING : Place::WANTED, next};
}

void RouteBook::ForgetVlan(unsigned short vlan) {
  ++m_edition;
  RouteLane& lane = m_lanes.Get(vlan);
  m_toAsk -= lane.work.CountToAsk();
  lane.work = {};
  std::size_t gone = 0;
  const std::size_t endOfLeaving = m_leaving.FirstOf(vlan + 1u);
  for (std::size_t i = m_leaving.FirstOf(vlan); i < endOfLeaving; ++i) {
    gone += m_leaving.states[i].kind != RouteState::SETTLED ? 1 : 0;
    m_leaving.states[i] = SETTLED;
  }
  Gone(gone);
  const std::size_t first = m_wanted.FirstOf(vlan);
  const std::size_t end = m_wanted.FirstOf(vlan + 1u);
  std::fill(m_wanted.states.begin() + static_cast<std::ptrdiff_t>(first),
            m_wanted.states.begin() + static_cast<std::ptrdiff_t>(end), NEVER_ASKED);
  for (auto stray = m_strays.begin(); stray != m_strays.end();) {
    stray = stray->first.target.vlan == vlan ? m_strays.erase(stray) : std::next(stray);
  }
  lane.work.wanted = {first, end - first};
  m_toAsk += end - first;
  if (end != first) {
    m_lanes.StartAsking(lane);
  }
}

void RouteBook::Forget() {
  const unsigned int edition = m_edition;
  *this = RouteBook();
  m_edition = edition + 1;
}

}  // namespace apply
