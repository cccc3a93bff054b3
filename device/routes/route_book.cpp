#include "route_book.h"

#include <algorithm>
#include <utility>

namespace routes {

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
  const RouteLife& GetLife() const {
    return IsWanted() ? (*m_wanted.lives)[m_at] : (*m_leaving.lives)[m_atLeaving];
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
  const bool isEqual = known.Get().metric == metric;
  if (state.IsHeld() && state.value == 0 && isEqual) {
    return SETTLED;
  }
  const bool isSame = known.IsWanted() && isEqual;
  return isSame || state.kind == RouteState::NEVER_ASKED ? state
                                                         : RouteState::ToAsk(state.HasGivenUp());
}

// Of a known route that is not wanted, or not any more. `isReplaced` says that others of its prefix
// are. A request that was given up may have changed the stack all the same, and its item is still
// in the library: asking for the removal ends both.
RouteState StateOfLeaving(const KnownRoutes& known, bool isReplaced, RouteBook::Plan& plan) {
  const RouteState state = known.GetState();
  const bool wasLeaving = !known.IsWanted();
  const bool isDue = state.kind == RouteState::TO_ASK && (state.value & RouteState::DUE) != 0;
  if (state.kind == RouteState::UNDER_WAY && !wasLeaving && isReplaced) {
    plan.holdsMore |= plan.holding.isOn;  // when its answer comes (RouteHandover::StateOfLate)
  }
  if (state.kind == RouteState::UNDER_WAY ||
      (wasLeaving && (state.kind == RouteState::REFUSED || isDue))) {
    return state;
  }
  if (!isReplaced || !plan.holding.isOn) {
    return RouteState::ToAsk(state.HasGivenUp());
  }
  if (state.IsHeld()) {
    return plan.holding.endsAll ? state.LetGo() : state;
  }
  plan.holdsMore = true;
  return {RouteState::AWAITING, (state.HasGivenUp() ? RouteState::GIVEN_UP : 0u) |
                                    (state.kind == RouteState::SETTLED ? 0u : RouteState::CHANGED)};
}

bool IsRemoval(const RouteState& state) {
  return state.IsToAsk() || state.kind == RouteState::UNDER_WAY;
}

// Merges two sets of wanted routes.
class Merge {
 public:
  Merge(RouteBook::Plan& plan, const ResolvedRoutes& wanted)
      : m_plan(plan), m_wanted(wanted), m_known(plan.wanted, plan.leaving) {}

  void Run() {
    states.reserve(m_wanted.size());
    lives.reserve(m_wanted.size());
    for (; m_next < m_wanted.size(); ++m_next) {
      const ResolvedRoute& route = m_wanted[m_next];
      int order = -1;
      while (m_known.HasMore() && (order = CompareRoutes(m_known.Get(), route)) < 0) {
        Leave();
        m_known.Advance();
      }
      if (m_known.HasMore() && order == 0) {
        states.push_back(StateOfWanted(m_known, route.metric));
        const bool isSame = m_known.IsWanted() && m_known.Get().metric == route.metric;
        AddLife(m_known.GetLife(), isSame);
        m_known.Advance();
      } else {
        states.push_back(NEVER_ASKED);
        AddLife({}, false);
      }
    }
    for (; m_known.HasMore(); m_known.Advance()) {
      Leave();
    }
  }

  std::vector<RouteState> states;  // of the wanted routes
  std::vector<RouteLife> lives;    // so too
  ResolvedRoutes leaving;
  std::vector<RouteState> leavingStates;
  std::vector<RouteLife> leavingLives;

 private:
  void AddLife(RouteLife life, bool isSame) {
    life.revision = isSame ? life.revision : m_plan.revision & RouteLife::LARGEST_REVISION;
    lives.push_back(life);
  }
  // One that has never been asked for is forgotten.
  void Leave() {
    if (m_known.GetState().kind != RouteState::NEVER_ASKED) {
      leaving.push_back(m_known.Get());
      leavingStates.push_back(StateOfLeaving(m_known, IsReplaced(), m_plan));
      leavingLives.push_back(m_known.GetLife());
    }
  }
  // Routes of one prefix follow each other, and the known one is between two wanted ones.
  bool IsReplaced() const {
    const documents::RouteTarget& known = m_known.Get().target;
    return (m_next != 0 && ComparePrefixes(m_wanted[m_next - 1].target, known) == 0) ||
           (m_next < m_wanted.size() && ComparePrefixes(m_wanted[m_next].target, known) == 0);
  }

  RouteBook::Plan& m_plan;
  const ResolvedRoutes& m_wanted;
  KnownRoutes m_known;
  std::size_t m_next = 0;
};

}  // namespace

void RouteBook::Make(Plan& plan, intent::SharedRoutes wanted) noexcept {
  Merge merge(plan, *wanted);
  merge.Run();
  const auto share = [](std::vector<RouteLife>& lives) {
    return std::make_shared<std::vector<RouteLife>>(std::move(lives));
  };
  plan.wanted = {std::move(wanted), std::move(merge.states), share(merge.lives)};
  plan.leaving = {std::make_shared<const ResolvedRoutes>(std::move(merge.leaving)),
                  std::move(merge.leavingStates), share(merge.leavingLives)};
  if (plan.holding.endsKept) {
    EndKept(plan);
  }
  AddWorks(plan.leaving, true, plan.works);
  AddWorks(plan.wanted, false, plan.works);
  plan.kept = static_cast<std::size_t>(
      std::count_if(plan.leaving.states.begin(), plan.leaving.states.end(),
                    [](const RouteState& state) { return state.kind == RouteState::KEPT; }));
}

// One that is kept for others than before has another chance: whoever corrects a next hop that is
// not reached does not want the old one to go first.
void RouteBook::EndKept(Plan& plan) {
  const RouteSet& wanted = plan.wanted;
  for (std::size_t i = 0; i < plan.leaving.states.size(); ++i) {
    RouteState& state = plan.leaving.states[i];
    if (state.kind != RouteState::KEPT) {
      continue;
    }
    const ResolvedRoute& route = plan.leaving.At(i);
    std::size_t other = wanted.FirstOf(route.target);
    while (wanted.HasAt(other, route.target) &&
           (wanted.states[other].kind == RouteState::SETTLED ||
            wanted.states[other].kind == RouteState::REFUSED)) {
      ++other;
    }
    if (wanted.HasAt(other, route.target)) {
      state.kind = RouteState::AWAITING;
      plan.holdsMore = true;
      continue;
    }
    state = state.LetGo();
    if (plan.endedCount++ < MOST_NAMED) {
      plan.ended.push_back({route.target, route.ifIndex});
    }
  }
}

void RouteBook::AddWorks(const RouteSet& set, bool isLeaving, RouteLanes::Works& works) {
  RouteWork* work = nullptr;
  unsigned short vlan = 0;
  for (std::size_t i = 0; i < set.states.size(); ++i) {
    const RouteState& state = set.states[i];
    const bool isToAsk = state.IsToAsk();
    const bool isAwaiting = state.kind == RouteState::AWAITING;
    const bool isKept = state.kind == RouteState::KEPT;
    if (!isToAsk && !isAwaiting && !isKept && !(isLeaving && IsRemoval(state))) {
      continue;
    }
    if (work == nullptr || set.At(i).target.vlan != vlan) {
      vlan = set.At(i).target.vlan;
      work = &works[vlan];
    }
    work->removals += isLeaving && IsRemoval(state) ? 1 : 0;
    work->awaiting += isAwaiting ? 1 : 0;
    work->kept += isKept ? 1 : 0;
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
  m_toAsk = {};
  m_awaiting = 0;
  m_kept = plan.kept;
  for (const auto& [vlan, work] : plan.works) {
    ToAsk(Asking::ADDITIONS) += work.wanted.toAsk;
    ToAsk(Asking::REMOVALS) += work.leaving.toAsk;
    m_awaiting += work.awaiting;
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

RouteBook::Place RouteBook::Find(const rows::RouteRow& row) const {
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

RouteState RouteBook::StateOf(const Place& place, const rows::RouteRow& row) const {
  switch (place.where) {
    case Place::WANTED:
      return m_wanted.states[place.position];
    case Place::LEAVING:
      return m_leaving.states[place.position];
    default:
      return m_strays.at(row);
  }
}

RouteLife* RouteBook::LifeOf(const Place& place) {
  return const_cast<RouteLife*>(std::as_const(*this).LifeOf(place));
}

const RouteLife* RouteBook::LifeOf(const Place& place) const {
  switch (place.where) {
    case Place::WANTED:
      return &(*m_wanted.lives)[place.position];
    case Place::LEAVING:
      return &(*m_leaving.lives)[place.position];
    default:
      return nullptr;
  }
}

RouteState& RouteBook::At(const Place& place, const rows::RouteRow& row) {
  switch (place.where) {
    case Place::WANTED:
      return m_wanted.states[place.position];
    case Place::LEAVING:
      return m_leaving.states[place.position];
    default:
      return m_strays.try_emplace(row, SETTLED).first->second;
  }
}

void RouteBook::Set(const Place& place, const rows::RouteRow& row, RouteLane& lane,
                    RouteState state) {
  RouteState& present = At(place, row);
  const bool isWanted = place.where == Place::WANTED;
  const Asking what = isWanted ? Asking::ADDITIONS : Asking::REMOVALS;
  RouteStretch& stretch = lane.work.Of(what);
  if (!isWanted) {
    lane.work.removals += IsRemoval(state) ? 1 : 0;
    lane.work.removals -= IsRemoval(present) ? 1 : 0;
    Count(state, lane, 1);
    Count(present, lane, static_cast<std::size_t>(-1));
  }
  if (present.IsToAsk()) {
    --stretch.toAsk;
    --ToAsk(what);
  }
  if (state.IsToAsk()) {
    stretch.next = stretch.toAsk == 0 ? place.position : std::min(stretch.next, place.position);
    ++stretch.toAsk;
    ++ToAsk(what);
    m_lanes.StartAsking(lane, what);
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

void RouteBook::Count(const RouteState& state, RouteLane& lane, std::size_t difference) {
  if (state.kind == RouteState::AWAITING) {
    lane.work.awaiting += difference;
    m_awaiting += difference;
  } else if (state.kind == RouteState::KEPT) {
    lane.work.kept += difference;
    m_kept += difference;
  }
}

void RouteBook::Gone(std::size_t count) {
  m_left -= count;
  if (m_left == 0) {
    m_leaving = {};
    ++m_edition;
  }
}

RouteBook::Place RouteBook::NextToAsk(RouteLane& lane, Asking what) const {
  const bool isWanted = what == Asking::ADDITIONS;
  const RouteSet& set = isWanted ? m_wanted : m_leaving;
  std::size_t& next = lane.work.Of(what).next;
  while (!set.states[next].IsToAsk()) {
    ++next;
  }
  return {isWanted ? Place::WANTED : Place::LEAVING, next};
}

bool RouteBook::MayHaveRoutes(unsigned short vlan) const {
  const auto hasAny = [vlan](const RouteSet& set, RouteState::Kind none, RouteState::Kind gone) {
    const auto begin = set.states.begin();
    return std::any_of(
        begin + static_cast<std::ptrdiff_t>(set.FirstOf(vlan)),
        begin + static_cast<std::ptrdiff_t>(set.FirstOf(vlan + 1u)),
        [&](const RouteState& state) { return state.kind != none && state.kind != gone; });
  };
  return hasAny(m_wanted, RouteState::NEVER_ASKED, RouteState::NEVER_ASKED) ||
         hasAny(m_leaving, RouteState::SETTLED, RouteState::REFUSED);
}

void RouteBook::ForgetVlan(unsigned short vlan, bool hasGone) {
  ++m_edition;
  RouteLane& lane = m_lanes.Get(vlan);
  ToAsk(Asking::ADDITIONS) -= lane.work.wanted.toAsk;
  ToAsk(Asking::REMOVALS) -= lane.work.leaving.toAsk;
  std::size_t gone = 0;
  const std::size_t endOfLeaving = m_leaving.FirstOf(vlan + 1u);
  for (std::size_t i = m_leaving.FirstOf(vlan); i < endOfLeaving; ++i) {
    gone += m_leaving.states[i].kind != RouteState::SETTLED ? 1 : 0;
    Count(m_leaving.states[i], lane, static_cast<std::size_t>(-1));
    m_leaving.states[i] = SETTLED;
  }
  lane.work = {};
  Gone(gone);
  const std::size_t first = m_wanted.FirstOf(vlan);
  const std::size_t end = m_wanted.FirstOf(vlan + 1u);
  std::fill(m_wanted.states.begin() + static_cast<std::ptrdiff_t>(first),
            m_wanted.states.begin() + static_cast<std::ptrdiff_t>(end), NEVER_ASKED);
  for (auto stray = m_strays.begin(); stray != m_strays.end();) {
    stray = stray->first.target.vlan == vlan ? m_strays.erase(stray) : std::next(stray);
  }
  if (end != first && !hasGone) {
    lane.work.wanted = {first, end - first};
    ToAsk(Asking::ADDITIONS) += end - first;
    m_lanes.StartAsking(lane, Asking::ADDITIONS);
  }
}

void RouteBook::Forget() {
  const unsigned int edition = m_edition;
  *this = RouteBook();
  m_edition = edition + 1;
}

}  // namespace routes
