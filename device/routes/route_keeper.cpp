#include "route_keeper.h"

#include <algorithm>
#include <utility>

#include "route_keeper_state.h"

namespace routes {

RouteKeeper::RouteKeeper(uv_loop_s* loop, const rows::StackPort& port,
                         rows::Differences& differences, RouteHandover::Options options)
    : m_state(std::make_unique<State>(loop, port, differences, std::move(options))) {}

RouteKeeper::~RouteKeeper() = default;

std::shared_ptr<RouteKeeper::Plan> RouteKeeper::BeginPlan(bool endsKept) {
  m_state->isPlanning = true;
  const RouteBook& book = m_state->book;
  return std::make_shared<Plan>(Plan{
      book.BeginPlan(m_state->handover.BeginPlan(endsKept), m_state->revision), book.GetEdition()});
}

void RouteKeeper::MakePlan(Plan& plan, intent::SharedRoutes wanted,
                           intent::SharedUnresolved unresolved) noexcept {
  RouteBook::Make(plan.book, std::move(wanted));
  plan.unresolved = std::move(unresolved);
  if (!plan.unresolved) {
    plan.unresolved = std::make_shared<const intent::UnresolvedRoutes>();
  }
}

void RouteKeeper::CarryOut(Plan& plan) {
  if (m_state->isPlanning && plan.edition == m_state->book.GetEdition()) {
    m_state->book.CarryOut(plan.book);
    std::swap(m_state->unresolved, plan.unresolved);
    m_state->planned = m_state->port.Now();
    m_state->feeder.Planned(m_state->planned);
    m_state->handover.PlanEnded(plan.book);
    m_state->EndPlan();
  }
}

const intent::SharedRoutes& RouteKeeper::GetWanted() const {
  return m_state->book.GetWanted().routes;
}

const intent::SharedUnresolved& RouteKeeper::GetUnresolved() const { return m_state->unresolved; }
const RouteBook& RouteKeeper::GetBook() const { return m_state->book; }
void RouteKeeper::SetRevision(unsigned int revision) { m_state->revision = revision; }

// A request that waits for one instance keeps those after it waiting, whatever their family is.
bool RouteKeeper::HasLeavingRoutes(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  return lane != nullptr && lane->work.removals != 0 && IsInstanceReady(vlan, false) &&
         IsInstanceReady(vlan, true);
}

bool RouteKeeper::MayHaveRoutes(unsigned short vlan) const {
  return m_state->book.MayHaveRoutes(vlan) && IsInstanceReady(vlan, false) &&
         IsInstanceReady(vlan, true);
}

void RouteKeeper::EndKept() { m_state->handover.EndKept(); }
void RouteKeeper::LookAtKeptSoon() { m_state->handover.LookSoon(); }
bool RouteKeeper::MayEndKept() const { return m_state->handover.IsEarly(); }
std::size_t RouteKeeper::CountKept() const { return m_state->book.CountKept(); }

std::uint64_t RouteKeeper::CountSecondsOfKept() const {
  return m_state->handover.CountSecondsLeft();
}

std::vector<rows::Row> RouteKeeper::FirstKept(std::size_t most) const {
  const std::vector<rows::RouteRow> rows = ReadKept(nullptr, most);
  return {rows.begin(), rows.end()};
}

std::vector<rows::RouteRow> RouteKeeper::ReadKept(const rows::RouteRow* last,
                                                  std::size_t most) const {
  return m_state->handover.ReadKept(last, most);
}

void RouteKeeper::Forget() {
  State& state = *m_state;
  state.isPlanning = false;
  state.again.clear();
  state.lostVlans.clear();
  for (RouteRequest* request : state.requests.GetAll()) {
    state.requests.End(*request);
  }
  state.book.Forget();
  state.handover.Forget();
  state.retried = state.repeats = 0;
  ++state.progress;
}

void RouteKeeper::ForgetVlan(unsigned short vlan, bool hasGone) {
  if (m_state->isPlanning) {
    m_state->lostVlans[vlan] = hasGone;
    return;
  }
  m_state->ForgetVlan(vlan, hasGone);
  m_state->Wake();
}

std::size_t RouteKeeper::CountOpen() const {
  const RouteBook& book = m_state->book;
  return book.CountToAsk(Asking::ADDITIONS) + book.CountToAsk(Asking::REMOVALS) +
         book.CountAwaiting() + m_state->requests.CountUnderWay() - m_state->repeats;
}

std::size_t RouteKeeper::CountOpen(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  return lane != nullptr ? lane->CountOpen() : 0;
}

std::size_t RouteKeeper::CountOpenRemovals(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  return lane != nullptr ? std::min(lane->CountOpen(), lane->work.removals + lane->work.awaiting)
                         : 0;
}

std::size_t RouteKeeper::CountToAsk() const {
  return m_state->book.CountToAsk(Asking::ADDITIONS) + m_state->book.CountToAsk(Asking::REMOVALS);
}

RouteKeeper::Waiting RouteKeeper::FindWaiting(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  if (lane == nullptr) {
    return {};
  }
  const std::size_t window = WINDOW - std::min(WINDOW, m_state->requests.CountUnderWay());
  return {lane->work.wanted.toAsk, lane->work.leaving.toAsk, lane->work.awaiting,
          lane->work.kept,         lane->CountUnderWay(),    lane->GetRoom(window) != 0};
}

std::vector<RouteKeeper::UnderWay> RouteKeeper::ReadUnderWay() const {
  const RouteRequests& requests = m_state->requests;
  std::vector<UnderWay> all;
  for (const RouteRequest* request : requests.GetAll()) {
    all.push_back(
        {request->row, request->isRemoval, request->isRetried, request->status, request->since});
  }
  std::sort(all.begin(), all.end(),
            [](const UnderWay& a, const UnderWay& b) { return a.row < b.row; });
  return all;
}

std::uint64_t RouteKeeper::GetProgress() const { return m_state->progress; }
std::uint64_t RouteKeeper::CountConcluded() const { return m_state->concluded; }
std::size_t RouteKeeper::CountUnderWay() const { return m_state->requests.CountUnderWay(); }
std::size_t RouteKeeper::CountRetried() const { return m_state->retried; }
std::size_t RouteKeeper::CountWanted() const { return GetWanted()->size(); }

void RouteKeeper::BeginPass() { m_state->pass.Begin(); }

bool RouteKeeper::ContinuePass(std::size_t most, const Found& found) {
  const bool isMore = m_state->pass.Continue(most, found);
  m_state->Heal();
  return isMore;
}

rows::Standing RouteKeeper::Look(const rows::Row& row) const {
  return m_state->judge.Look(std::get<rows::RouteRow>(row));
}

void RouteKeeper::AskAgain(const rows::Row& row) {
  const rows::RouteRow& route = std::get<rows::RouteRow>(row);
  if (m_state->isPlanning) {
    m_state->again.push_back(route);
  } else {
    m_state->AskAgain(route);
    m_state->Wake();
  }
}

}  // namespace routes
