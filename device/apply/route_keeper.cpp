#include "route_keeper.h"

#include <algorithm>
#include <map>
#include <utility>

#include "asked_route.h"
#include "route_book.h"
#include "route_feeder.h"
#include "route_handover.h"
#include "route_judge.h"
#include "route_pass.h"
#include "tarsel/timer.h"

namespace apply {

using News = RouteRequest::News;
using Place = RouteBook::Place;

namespace {

// How often it is looked for requests that will never be answered.
constexpr unsigned int WATCH_MILLISECONDS = 1000;

}  // namespace

struct RouteKeeper::Plan {
  RouteBook::Plan book;
  unsigned int edition = 0;
};

// What changes while a plan is made would be lost with it, so that waits until the plan is over.
struct RouteKeeper::State {
  State(uv_loop_s* loop, const StackPort& stackPort, Differences& itsDifferences,
        RouteHandover::Options options);

  void Wake();
  void Turn();
  void EndPlan();
  void TakeNews();
  void TakeNews(RouteRequest& request);
  void Conclude(RouteRequest& request, bool isDone);
  void GiveUp(const Place& place, const RouteRow& row, RouteLane& lane, unsigned int status);
  void Heal();
  void Settle(const Place& place, const RouteRow& row, RouteLane& lane);
  void Ask(Place place, const RouteRow& row, RouteLane& lane, bool isRepeat, std::uint64_t now);
  void AskAgain(const RouteRow& row);
  void ForgetVlan(unsigned short vlan, bool hasGone);
  void Watch(unsigned int, void*);

  std::uint32_t MetricOf(const Place& place) const;

  const StackPort& port;
  Differences& differences;
  loop::Task turn;
  Tarsel::OneShotTimer watch;
  RouteBook book;
  RouteRequests requests;
  RouteFeeder feeder;
  RouteJudge judge;
  RoutePass pass;
  RouteHandover handover;

  bool isPlanning = false;
  std::vector<RouteRow> again;               // to be asked for again after the plan
  std::map<unsigned short, bool> lostVlans;  // to be forgotten after the plan; true: have gone
  std::uint64_t planned = 0;                 // when the last plan was carried out
  std::uint64_t progress = 0;
  std::uint64_t concluded = 0;
  std::size_t retried = 0;
  std::size_t repeats = 0;  // that are under way
};

RouteKeeper::State::State(uv_loop_s* loop, const StackPort& stackPort, Differences& itsDifferences,
                          RouteHandover::Options options)
    : port(stackPort),
      differences(itsDifferences),
      turn(loop),
      watch("RouteWatch"),
      requests(port, [this] { Wake(); }),
      feeder(book, requests,
             [this](const Place& place, const RouteRow& row, RouteLane& lane, std::uint64_t now) {
               Ask(place, row, lane, false, now);
             }),
      judge(book, requests, port, planned),
      pass(book, port,
           [this](const Place& place, const RouteRow& row, const StackRoute* found) {
             return judge.Judge(place, row, found);
           }),
      handover(loop, port, book, std::move(options), [this] { Wake(); }) {
  watch.SetCallback(new Tarsel::MemberCallback2<State, unsigned int, void*>(this, &State::Watch));
}

void RouteKeeper::State::Wake() {
  turn.Post([this] { Turn(); });
}

void RouteKeeper::State::Turn() {
  if (!isPlanning) {
    TakeNews();
    if (feeder.Feed(port.Now())) {
      Wake();
    }
  }
}

// What came while the plan was made.
void RouteKeeper::State::EndPlan() {
  isPlanning = false;
  TakeNews();
  for (const auto& [vlan, hasGone] : std::exchange(lostVlans, {})) {
    ForgetVlan(vlan, hasGone);
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
    const RouteState state = RouteState::ToAsk(!isDone);
    book.Set(place, row, lane,
             request.isRemoval || place.where != Place::LEAVING
                 ? state
                 : handover.StateOfLate(row, state, !isDone || request.metric != MetricOf(place)));
  } else if (!isDone) {
    GiveUp(place, row, lane, request.status);
    return;
  } else {
    book.Set(place, row, lane, {RouteState::SETTLED, 0});
  }
  handover.Answered(row.target);
  if (differences.Count() != 0 && differences.GetAll().count(row) != 0) {
    differences.Heard(row);
  }
}

void RouteKeeper::State::GiveUp(const Place& place, const RouteRow& row, RouteLane& lane,
                                unsigned int status) {
  book.Set(place, row, lane,
           {RouteState::REFUSED, std::min<std::uint32_t>(status, RouteState::LARGEST_VALUE)});
  const Standing standing = judge.Look(row);
  if (standing.IsDifference()) {
    handover.Answered(row.target);
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
  handover.Answered(row.target);
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
    if (judge.IsLost(state)) {
      Conclude(requests.Get(state.value), false);
      place = book.Find(row);
    } else if (state.kind == RouteState::UNDER_WAY) {
      return;
    }
    if (place.where != Place::NOWHERE &&
        (book.StateOf(place, row).IsToAsk() || book.StateOf(place, row).IsHeld())) {
      return;
    }
  }
  if (place.where == Place::WANTED || IsInstanceReady(row.target.vlan, row.target.ip6)) {
    Ask(place, row, book.GetLanes().Get(row.target.vlan), true, port.Now());
  }
}

// Items that were given up would stay for good: nobody asks for these routes any more.
void RouteKeeper::State::ForgetVlan(unsigned short vlan, bool hasGone) {
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
  book.ForgetVlan(vlan, hasGone);
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

// Of a route that is wanted, or was when it was asked for.
std::uint32_t RouteKeeper::State::MetricOf(const Place& place) const {
  const RouteSet& set = place.where == Place::WANTED ? book.GetWanted() : book.GetLeaving();
  return set.At(place.position).metric;
}

RouteKeeper::RouteKeeper(uv_loop_s* loop, const StackPort& port, Differences& differences,
                         RouteHandover::Options options)
    : m_state(std::make_unique<State>(loop, port, differences, std::move(options))) {}

RouteKeeper::~RouteKeeper() = default;

std::shared_ptr<RouteKeeper::Plan> RouteKeeper::BeginPlan(bool endsKept) {
  m_state->isPlanning = true;
  const RouteBook& book = m_state->book;
  return std::make_shared<Plan>(
      Plan{book.BeginPlan(m_state->handover.BeginPlan(endsKept)), book.GetEdition()});
}

void RouteKeeper::MakePlan(Plan& plan, intent::SharedRoutes wanted) noexcept {
  RouteBook::Make(plan.book, std::move(wanted));
}

void RouteKeeper::CarryOut(Plan& plan) {
  if (m_state->isPlanning && plan.edition == m_state->book.GetEdition()) {
    m_state->book.CarryOut(plan.book);
    m_state->planned = m_state->port.Now();
    m_state->feeder.Planned(m_state->planned);
    m_state->handover.PlanEnded(plan.book);
    m_state->EndPlan();
  }
}

const intent::SharedRoutes& RouteKeeper::GetWanted() const {
  return m_state->book.GetWanted().routes;
}

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

std::vector<Row> RouteKeeper::FirstKept(std::size_t most) const {
  const std::vector<RouteRow> rows = ReadKept(nullptr, most);
  return {rows.begin(), rows.end()};
}

std::vector<RouteRow> RouteKeeper::ReadKept(const RouteRow* last, std::size_t most) const {
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

Standing RouteKeeper::Look(const Row& row) const {
  return m_state->judge.Look(std::get<RouteRow>(row));
}

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
