#include "route_keeper.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "asked_route.h"
#include "route_book.h"
#include "route_pass.h"
#include "tarsel/timer.h"
#include "vantacore/dc_rtm_mgr.h"

namespace apply {

using intent::ResolvedRoute;
using News = RouteRequest::News;
using Place = RouteBook::Place;

namespace {

// How many requests a VLAN makes before it is the next one's turn.
constexpr std::size_t ROUTES_A_VLAN = 25;
// How often it is looked for requests that will never be answered.
constexpr unsigned int WATCH_MILLISECONDS = 1000;

// The stack has no routes of an instance that it does not have; a request for one waits.
bool IsInstanceReady(unsigned short vlan, bool ip6) {
  using Tarsel::DcRtmMgr;
  return DcRtmMgr::GetInstance()->IsRtmReady(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      vlan, ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4));
}

}  // namespace

struct RouteKeeper::Plan {
  RouteBook::Plan book;
  unsigned int edition = 0;
};

// What changes while a plan is made would be lost with it, so that waits until the plan is over.
struct RouteKeeper::State {
  State(uv_loop_s* loop, const StackPort& stackPort, Differences& itsDifferences);

  void Wake();
  void Turn();
  void EndPlan();
  void TakeNews();
  void TakeNews(RouteRequest& request);
  void Conclude(RouteRequest& request, bool isDone);
  void GiveUp(const Place& place, const RouteRow& row, RouteLane& lane, unsigned int status);
  void Heal();
  void Settle(const Place& place, const RouteRow& row, RouteLane& lane);
  void Feed();
  std::size_t AskSome(RouteLane& lane, std::size_t most, std::uint64_t now);
  void Ask(Place place, const RouteRow& row, RouteLane& lane, bool isRepeat, std::uint64_t now);
  void AskAgain(const RouteRow& row);
  void ForgetVlan(unsigned short vlan);
  void Watch(unsigned int, void*);

  std::uint32_t MetricOf(const Place& place) const;
  bool IsLost(const RouteState& state) const;
  Standing Judge(const Place& place, const RouteRow& row, const StackRoute* found) const;
  Standing Look(const RouteRow& row) const;

  const StackPort& port;
  Differences& differences;
  loop::Task turn;
  Tarsel::OneShotTimer watch;
  RouteBook book;
  RouteRequests requests;
  RoutePass pass;

  bool isPlanning = false;
  std::vector<RouteRow> again;            // to be asked for again after the plan
  std::vector<unsigned short> lostVlans;  // to be forgotten after the plan
  std::uint64_t planned = 0;              // when the last plan was carried out
  std::uint64_t progress = 0;
  std::uint64_t concluded = 0;
  std::size_t retried = 0;
  std::size_t repeats = 0;  // that are under way
};

RouteKeeper::State::State(uv_loop_s* loop, const StackPort& stackPort, Differences& itsDifferences)
    : port(stackPort),
      differences(itsDifferences),
      turn(loop),
      watch("RouteWatch"),
      requests(port, [this] { Wake(); }),
      pass(book, port, [this](const Place& place, const RouteRow& row, const StackRoute* found) {
        return Judge(place, row, found);
      }) {
  watch.SetCallback(new Tarsel::MemberCallback2<State, unsigned int, void*>(this, &State::Watch));
}

void RouteKeeper::State::Wake() {
  turn.Post([this] { Turn(); });
}

void RouteKeeper::State::Turn() {
  if (!isPlanning) {
    TakeNews();
    Feed();
  }
}

// What came while the plan was made.
void RouteKeeper::State::EndPlan() {
  isPlanning = false;
  TakeNews();
  for (const unsigned short vlan : std::exchange(lostVlans, {})) {
    ForgetVlan(vlan);
  }
  for (const RouteRow& row : std::exchange(again, {})) {
    AskAgain(row);
  }
  Wake();
}

void RouteKeeper::State::TakeNews() {
  for (RouteRequest* request : requests.TakeNews()) {
    TakeNews(*request);
  }
}

void RouteKeeper::State::TakeNews(RouteRequest& request) {
  switch (std::exchange(request.news, News::NONE)) {
    case News::NONE:
      return;
    case News::RETRIED:
      retried += request.isRetried ? 0 : 1;
      request.lane->Retried(!std::exchange(request.isRetried, true));
      progress += request.isRepeat ? 0 : 1;
      break;
    case News::DONE:
      Conclude(request, true);
      break;
    case News::REFUSED:
    case News::DROPPED:
      Conclude(request, false);
  }
}

// The request is over. Whether it was for what is wanted now shows how the route stands.
void RouteKeeper::State::Conclude(RouteRequest& request, bool isDone) {
  RouteLane& lane = *request.lane;
  const RouteRow row = request.row;
  const Place place = request.edition == book.GetEdition() ? request.place : book.Find(row);
  const bool isWanted = place.where == Place::WANTED;
  const bool isMet = request.isRemoval ? !isWanted : isWanted && request.metric == MetricOf(place);
  concluded += isDone || request.status != 0 ? 1 : 0;
  retried -= request.isRetried ? 1 : 0;
  repeats -= request.isRepeat ? 1 : 0;
  progress += request.isRepeat ? 0 : 1;
  lane.Ended(request.isRetried, request.isRepeat, isDone);
  requests.End(request);
  if (!isMet) {
    book.Set(place, row, lane, RouteState::ToAsk(!isDone));
  } else if (!isDone) {
    GiveUp(place, row, lane, request.status);
    return;
  } else {
    book.Set(place, row, lane, {RouteState::SETTLED, 0});
  }
  if (differences.Count() != 0 && differences.GetAll().count(row) != 0) {
    differences.Heard(row);
  }
}

void RouteKeeper::State::GiveUp(const Place& place, const RouteRow& row, RouteLane& lane,
                                unsigned int status) {
  book.Set(place, row, lane,
           {RouteState::REFUSED, std::min<std::uint32_t>(status, RouteState::LARGEST_VALUE)});
  const Standing standing = Look(row);
  if (standing.IsDifference()) {
    differences.Note(row, standing);
    return;
  }
  Settle(place, row, lane);
  differences.Heard(row);
}

// The item of the request that was given up would stay for good.
void RouteKeeper::State::Heal() {
  for (const RouteRow& row : pass.TakeHealed()) {
    const Place place = book.Find(row);
    if (!isPlanning && place.where != Place::NOWHERE &&
        book.StateOf(place, row).kind == RouteState::REFUSED) {
      Settle(place, row, book.GetLanes().Get(row.target.vlan));
    }
  }
}

void RouteKeeper::State::Settle(const Place& place, const RouteRow& row, RouteLane& lane) {
  RouteRequests::DropGivenUp(row);
  book.Set(place, row, lane, {RouteState::SETTLED, 0});
}

void RouteKeeper::State::Feed() {
  const std::uint64_t now = port.Now();
  RouteLanes& lanes = book.GetLanes();
  std::size_t made = 0;
  lanes.BeginRound();
  while (made < ROUTES_A_TURN && requests.CountUnderWay() < WINDOW) {
    RouteLane* const lane = lanes.Next();
    if (lane == nullptr) {
      return;
    }
    const std::size_t room = std::min(WINDOW - requests.CountUnderWay(), lane->GetRoom());
    const std::size_t count =
        AskSome(*lane, std::min({ROUTES_A_VLAN, ROUTES_A_TURN - made, room}), now);
    made += count;
    if (count != 0) {
      lanes.BeginRound();
    }
  }
  if (made == ROUTES_A_TURN) {
    Wake();
  }
}

std::size_t RouteKeeper::State::AskSome(RouteLane& lane, std::size_t most, std::uint64_t now) {
  std::size_t count = 0;
  for (; count < most && lane.work.CountToAsk() != 0; ++count) {
    const Place place = book.NextToAsk(lane);
    const RouteSet& set = place.where == Place::WANTED ? book.GetWanted() : book.GetLeaving();
    const ResolvedRoute& route = set.At(place.position);
    Ask(place, {route.target, route.ifIndex}, lane, false, now);
  }
  return count;
}

void RouteKeeper::State::Ask(Place place, const RouteRow& row, RouteLane& lane, bool isRepeat,
                             std::uint64_t now) {
  RouteRequest& request = requests.Begin();
  request.row = row;
  request.isRemoval = place.where != Place::WANTED;
  request.metric = request.isRemoval ? 0 : MetricOf(place);
  request.isRepeat = isRepeat;
  request.since = now;
  request.lane = &lane;
  book.Set(place, row, lane, {RouteState::UNDER_WAY, request.number});
  request.place = place.where == Place::NOWHERE ? Place{Place::STRAY, 0} : place;
  request.edition = book.GetEdition();
  lane.Asked(isRepeat);
  repeats += isRepeat ? 1 : 0;
  progress += isRepeat ? 0 : 1;
  requests.Send(request);
  if (!watch.IsRunning()) {
    watch.Start(WATCH_MILLISECONDS);
  }
}

void RouteKeeper::State::AskAgain(const RouteRow& row) {
  Place place = book.Find(row);
  if (place.where != Place::NOWHERE) {
    const RouteState state = book.StateOf(place, row);
    if (IsLost(state)) {
      Conclude(requests.Get(state.value), false);
      place = book.Find(row);
    } else if (state.kind == RouteState::UNDER_WAY) {
      return;
    }
    if (place.where != Place::NOWHERE && book.StateOf(place, row).IsToAsk()) {
      return;
    }
  }
  if (place.where == Place::WANTED || IsInstanceReady(row.target.vlan, row.target.ip6)) {
    Ask(place, row, book.GetLanes().Get(row.target.vlan), true, port.Now());
  }
}

// Items that were given up would stay for good: nobody asks for these routes any more.
void RouteKeeper::State::ForgetVlan(unsigned short vlan) {
  for (RouteRequest* request : requests.GetAll()) {
    if (request->row.target.vlan == vlan) {
      retried -= request->isRetried ? 1 : 0;
      repeats -= request->isRepeat ? 1 : 0;
      request->lane->Ended(request->isRetried, request->isRepeat, false);
      requests.Drop(*request);
    }
  }
  for (const RouteSet* set : {&book.GetWanted(), &book.GetLeaving()}) {
    const std::size_t end = set->FirstOf(vlan + 1u);
    for (std::size_t i = set->FirstOf(vlan); i < end; ++i) {
      if (set->states[i].HasGivenUp()) {
        RouteRequests::DropGivenUp({set->At(i).target, set->At(i).ifIndex});
      }
    }
  }
  for (const auto& [row, state] : book.GetStrays()) {
    if (row.target.vlan == vlan && state.HasGivenUp()) {
      RouteRequests::DropGivenUp(row);
    }
  }
  book.ForgetVlan(vlan);
}

void RouteKeeper::State::Watch(unsigned int, void*) {
  if (!isPlanning) {
    for (RouteRequest* request : requests.GetAll()) {
      if (requests.IsLost(*request)) {
        Conclude(*request, false);
      }
    }
    Wake();
  }
  if (requests.CountUnderWay() != 0) {
    watch.Start(WATCH_MILLISECONDS);
  }
}

std::uint32_t RouteKeeper::State::MetricOf(const Place& place) const {
  return book.GetWanted().At(place.position).metric;
}

bool RouteKeeper::State::IsLost(const RouteState& state) const {
  return state.kind == RouteState::UNDER_WAY && requests.IsLost(requests.Get(state.value));
}

Standing RouteKeeper::State::Judge(const Place& place, const RouteRow& row,
                                   const StackRoute* found) const {
  const bool isKnown = place.where != Place::NOWHERE;
  const RouteState state = isKnown ? book.StateOf(place, row) : RouteState{RouteState::SETTLED, 0};
  if (state.IsToAsk()) {
    return {Standing::Kind::UNDER_WAY, planned, 0};
  }
  if (state.kind == RouteState::UNDER_WAY && !IsLost(state)) {
    return {Standing::Kind::UNDER_WAY, requests.Get(state.value).since, 0};
  }
  const unsigned int status = state.kind == RouteState::REFUSED ? state.value : 0;
  const bool isWanted = place.where == Place::WANTED;
  if (!port.KnowsTables()) {
    const auto kind = isWanted ? Standing::Kind::MISSING : Standing::Kind::UNWANTED;
    return state.kind == RouteState::REFUSED ? Standing{kind, 0, status} : Standing{};
  }
  if (found == nullptr) {
    return isWanted ? Standing{Standing::Kind::MISSING, 0, status} : Standing{};
  }
  if (!isWanted) {  // one of an instance that is to go, or to be made anew, goes with it
    return IsInstanceReady(row.target.vlan, row.target.ip6)
               ? Standing{Standing::Kind::UNWANTED, 0, status}
               : Standing{};
  }
  const bool isEqual = found->isUp && found->route.metric == MetricOf(place);
  return isEqual ? Standing{} : Standing{Standing::Kind::OTHER, 0, status};
}

Standing RouteKeeper::State::Look(const RouteRow& row) const {
  const Place place = book.Find(row);
  const std::optional<StackRoute> found = port.FindRoute(row);
  return Judge(place, row, found ? &*found : nullptr);
}

RouteKeeper::RouteKeeper(uv_loop_s* loop, const StackPort& port, Differences& differences)
    : m_state(std::make_unique<State>(loop, port, differences)) {}

RouteKeeper::~RouteKeeper() = default;

std::shared_ptr<RouteKeeper::Plan> RouteKeeper::BeginPlan() {
  m_state->isPlanning = true;
  return std::make_shared<Plan>(Plan{m_state->book.BeginPlan(), m_state->book.GetEdition()});
}

void RouteKeeper::MakePlan(Plan& plan, intent::SharedRoutes wanted) noexcept {
  RouteBook::Make(plan.book, std::move(wanted));
}

void RouteKeeper::CarryOut(Plan& plan) {
  if (m_state->isPlanning && plan.edition == m_state->book.GetEdition()) {
    m_state->book.CarryOut(plan.book);
    m_state->planned = m_state->port.Now();
    m_state->EndPlan();
  }
}

void RouteKeeper::GiveUpPlan() {
  if (m_state->isPlanning) {
    m_state->EndPlan();
  }
}

const intent::SharedRoutes& RouteKeeper::GetWanted() const {
  return m_state->book.GetWanted().routes;
}

// A request that waits for one instance keeps those behind it waiting, whatever their family is.
bool RouteKeeper::HasLeavingRoutes(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  return lane != nullptr && lane->work.removals != 0 && IsInstanceReady(vlan, false) &&
         IsInstanceReady(vlan, true);
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
  state.retried = state.repeats = 0;
  ++state.progress;
}

void RouteKeeper::ForgetVlan(unsigned short vlan) {
  if (m_state->isPlanning) {
    m_state->lostVlans.push_back(vlan);
    return;
  }
  m_state->ForgetVlan(vlan);
  m_state->Wake();
}

std::size_t RouteKeeper::CountOpen() const {
  return m_state->book.CountToAsk() + m_state->requests.CountUnderWay() - m_state->repeats;
}

std::size_t RouteKeeper::CountOpen(unsigned short vlan) const {
  const RouteLane* const lane = m_state->book.GetLanes().Find(vlan);
  return lane != nullptr ? lane->CountOpen() : 0;
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

Standing RouteKeeper::Look(const Row& row) const { return m_state->Look(std::get<RouteRow>(row)); }

void RouteKeeper::AskAgain(const Row& row) {
  const RouteRow& route = std::get<RouteRow>(row);
  if (m_state->isPlanning) {
    m_state->again.push_back(route);
  } else {
    m_state->AskAgain(route);
    m_state->Wake();
  }
}

}  // namespace apply
