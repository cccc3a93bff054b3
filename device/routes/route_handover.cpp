#include "route_handover.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace routes {

using intent::ResolvedRoute;
using Place = RouteBook::Place;

namespace {

// The pauses between two looks double, from the first to the longest. A look at very many takes no
// more than a fifth of the time.
constexpr std::uint64_t FIRST_PAUSE_MILLISECONDS = 10;
constexpr std::uint64_t LATE_PAUSE_MILLISECONDS = 160;
constexpr std::uint64_t LONGEST_PAUSE_MILLISECONDS = 10000;
constexpr std::uint64_t PAUSES_A_LOOK = 4;
// Why a kept route goes.
constexpr const char* APPLIED = "a configuration is applied";
// How many leaving routes a turn passes over that are not held.
constexpr std::size_t PASSED_A_TURN = 100000;

}  // namespace

RouteHandover::RouteHandover(uv_loop_s* loop, const rows::StackPort& port, RouteBook& book,
                             Options options, std::function<void()> wake)
    : m_port(port),
      m_book(book),
      m_options(std::move(options)),
      m_wake(std::move(wake)),
      m_turn(loop),
      m_timer("RouteHandover") {
  m_timer.SetCallback(new Tarsel::MemberCallback2<RouteHandover, unsigned int, void*>(
      this, &RouteHandover::WhenDue));
}

RouteBook::Holding RouteHandover::BeginPlan(bool endsKept) {
  m_isPlanning = true;
  return {m_options.milliseconds != 0, endsKept || m_ending == Ending::KEPT,
          m_ending == Ending::ALL};
}

// The plan has let those go that were to go when it was begun. A look begins anew.
void RouteHandover::PlanEnded(const RouteBook::Plan& plan) {
  m_isPlanning = m_isLooking = false;
  m_ending = Ending::NONE;
  Report(plan.ended, plan.endedCount, APPLIED);
  m_until = plan.holdsMore ? m_port.Now() + m_options.milliseconds : m_until;
  if (CountHeld() != 0) {
    m_pause = FIRST_PAUSE_MILLISECONDS;
    Post();
  }
}

void RouteHandover::Forget() {
  m_isPlanning = m_isLooking = false;
  m_ending = Ending::NONE;
  m_timer.Stop();
  m_due = 0;
}

// A next hop that is not reached yet may be in a moment.
void RouteHandover::Answered(const documents::RouteTarget& prefix) {
  if (CountHeld() == 0) {
    return;
  }
  const RouteSet& leaving = m_book.GetLeaving();
  bool isAnyHeld = false;
  for (std::size_t i = leaving.FirstOf(prefix); leaving.HasAt(i, prefix); ++i) {
    if (leaving.states[i].IsHeld()) {
      Look(i);
      isAnyHeld |= leaving.states[i].IsHeld();
    }
  }
  if (isAnyHeld) {
    LookSoon();
  }
}

RouteState RouteHandover::StateOfLate(const rows::RouteRow& row, const RouteState& state,
                                      bool isChanged) const {
  const RouteSet& wanted = m_book.GetWanted();
  if (m_port.Now() >= m_until || !wanted.HasAt(wanted.FirstOf(row.target), row.target)) {
    return state;
  }
  return {RouteState::AWAITING,
          (state.value & RouteState::GIVEN_UP) | (isChanged ? RouteState::CHANGED : 0u)};
}

void RouteHandover::LookSoon() {
  m_pause = FIRST_PAUSE_MILLISECONDS;
  if (CountHeld() != 0 && !m_isLooking) {
    Schedule(std::max(m_pause, PAUSES_A_LOOK * m_took));
  }
}

void RouteHandover::EndKept() {
  if (m_book.CountKept() != 0 && m_ending == Ending::NONE) {
    End(Ending::KEPT, APPLIED);
  }
}

void RouteHandover::End(Ending ending, const std::string& why) {
  const bool isAll = ending == Ending::ALL;
  const RouteSet& leaving = m_book.GetLeaving();
  std::vector<rows::RouteRow> first;
  for (std::size_t i = 0; i < leaving.states.size() && first.size() < RouteBook::MOST_NAMED; ++i) {
    const RouteState& state = leaving.states[i];
    if (isAll ? state.IsHeld() : state.kind == RouteState::KEPT) {
      first.push_back(RowOf(leaving.At(i)));
    }
  }
  Report(first, isAll ? CountHeld() : m_book.CountKept(), why);
  m_ending = ending;
  BeginLook();
  Post();
}

void RouteHandover::Report(const std::vector<rows::RouteRow>& first, std::size_t count,
                           const std::string& why) const {
  if (!m_options.report) {
    return;
  }
  for (const rows::RouteRow& row : first) {
    m_options.report(rows::Describe(row, m_options.names) + " goes without a successor: " + why);
  }
  if (count > first.size()) {
    m_options.report("... and " + std::to_string(count - first.size()) + " more routes: " + why);
  }
}

bool RouteHandover::IsEarly() const {
  return m_book.CountKept() != 0 && (m_isLooking || m_pause < LATE_PAUSE_MILLISECONDS);
}

std::uint64_t RouteHandover::CountSecondsLeft() const {
  const std::uint64_t now = m_port.Now();
  return CountHeld() != 0 && m_until > now ? (m_until - now + 999) / 1000 : 0;
}

std::vector<rows::RouteRow> RouteHandover::ReadKept(const rows::RouteRow* last,
                                                    std::size_t most) const {
  const RouteSet& leaving = m_book.GetLeaving();
  auto next = leaving.routes->begin();
  if (last != nullptr) {
    next = std::upper_bound(
        next, leaving.routes->end(), *last,
        [](const rows::RouteRow& a, const ResolvedRoute& b) { return CompareRoutes(a, b) < 0; });
  }
  std::vector<rows::RouteRow> rows;
  for (; next != leaving.routes->end() && rows.size() < most; ++next) {
    const auto position = static_cast<std::size_t>(next - leaving.routes->begin());
    if (leaving.states[position].kind == RouteState::KEPT) {
      rows.push_back(RowOf(*next));
    }
  }
  return rows;
}

void RouteHandover::Post() {
  m_turn.Post([this] { Turn(); });
}

void RouteHandover::Turn() {
  if (m_isPlanning) {
    return;
  }
  if (CountHeld() == 0) {
    Forget();
    return;
  }
  if (m_port.Now() >= m_until && m_ending != Ending::ALL) {
    End(Ending::ALL, "kept for " + std::to_string(m_options.milliseconds / 1000) + " s");
  }
  if (!m_isLooking) {
    BeginLook();
  }
  if (LookAtSome()) {
    Post();
    return;
  }
  m_isLooking = false;
  m_ending = Ending::NONE;
  m_took = m_port.Now() - m_began;
  Schedule(std::max(m_pause, PAUSES_A_LOOK * m_took));
  m_pause = std::min(2 * m_pause, LONGEST_PAUSE_MILLISECONDS);
}

void RouteHandover::BeginLook() {
  m_isLooking = true;
  m_at = 0;
  m_edition = m_book.GetEdition();
  m_began = m_port.Now();
}

// Returns whether there is more to look at.
bool RouteHandover::LookAtSome() {
  if (m_edition != m_book.GetEdition()) {
    m_edition = m_book.GetEdition();
    m_at = 0;
  }
  const RouteSet& leaving = m_book.GetLeaving();
  const std::size_t end = std::min(leaving.states.size(), m_at + PASSED_A_TURN);
  for (std::size_t looks = 0; m_at < end && looks < LOOKS_A_TURN; ++m_at) {
    const RouteState state = leaving.states[m_at];
    if (!state.IsHeld()) {
      continue;
    }
    ++looks;
    if (m_ending == Ending::ALL || (m_ending == Ending::KEPT && state.kind == RouteState::KEPT)) {
      LetGo(m_at);
    } else {
      Look(m_at);
    }
  }
  return m_at < leaving.states.size();
}

// One that the stack does not have keeps nothing up.
void RouteHandover::Look(std::size_t position) {
  const rows::RouteRow row = RowOf(m_book.GetLeaving().At(position));
  bool isNeeded = false;
  if (m_port.KnowsTables()) {
    const std::optional<rows::StackRoute> found = m_port.FindRoute(row);
    if (!found) {
      LetGo(position);
      return;
    }
    isNeeded = IsNeeded(*found);
  }
  const RouteSet& wanted = m_book.GetWanted();
  bool isAnswered = true;
  for (std::size_t i = wanted.FirstOf(row.target); wanted.HasAt(i, row.target); ++i) {
    const RouteState& state = wanted.states[i];
    if (state.kind == RouteState::SETTLED && (!isNeeded || CanTakeOver(RowOf(wanted.At(i))))) {
      LetGo(position);
      return;
    }
    isAnswered &= state.kind == RouteState::SETTLED || state.kind == RouteState::REFUSED;
  }
  RouteState state = m_book.GetLeaving().states[position];
  const RouteState::Kind kind = isAnswered ? RouteState::KEPT : RouteState::AWAITING;
  if (std::exchange(state.kind, kind) != kind) {
    m_book.Set({Place::LEAVING, position}, row, m_book.GetLanes().Get(row.target.vlan), state);
  }
}

bool RouteHandover::CanTakeOver(const rows::RouteRow& row) const {
  const std::optional<rows::StackRoute> found = m_port.FindRoute(row);
  return found && found->isInstallable;
}

// Whether it forwards, or may as soon as the one that does has gone, whose removal is asked for. A
// removal that is under way may be one of a route that is wanted again.
bool RouteHandover::IsNeeded(const rows::StackRoute& present) const {
  if (present.isInstalled || !present.isInstallable) {
    return present.isInstalled;
  }
  const documents::RouteTarget& prefix = present.route.target;
  for (const RouteSet* set : {&m_book.GetLeaving(), &m_book.GetWanted()}) {
    for (std::size_t i = set->FirstOf(prefix); set->HasAt(i, prefix); ++i) {
      const RouteState& state = set->states[i];
      if (state.IsToAsk() || state.kind == RouteState::UNDER_WAY) {
        const std::optional<rows::StackRoute> found = m_port.FindRoute(RowOf(set->At(i)));
        if (found && found->isInstalled) {
          return true;
        }
      }
    }
  }
  return false;
}

void RouteHandover::LetGo(std::size_t position) {
  const rows::RouteRow row = RowOf(m_book.GetLeaving().At(position));
  m_book.Set({Place::LEAVING, position}, row, m_book.GetLanes().Get(row.target.vlan),
             m_book.GetLeaving().states[position].LetGo());
  m_wake();
}

void RouteHandover::Schedule(std::uint64_t milliseconds) {
  const std::uint64_t now = m_port.Now();
  const std::uint64_t due = std::max(std::min(now + milliseconds, m_until), now + 1);
  if (m_due == 0 || due < m_due) {
    m_due = due;
    m_timer.Start(static_cast<unsigned int>(due - now));
  }
}

void RouteHandover::WhenDue(unsigned int, void*) {
  m_due = 0;
  Post();
}

}  // namespace routes
