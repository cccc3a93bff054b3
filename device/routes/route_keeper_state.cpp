#include "route_keeper_state.h"

#include <algorithm>
#include <utility>

namespace routes {

using News = RouteRequest::News;
using Place = RouteBook::Place;

namespace {

// How often it is looked for requests that will never be answered.
constexpr unsigned int WATCH_MILLISECONDS = 1000;

}  // namespace

RouteKeeper::State::State(uv_loop_s* loop, const rows::StackPort& stackPort,
                          rows::Differences& itsDifferences, RouteHandover::Options options)
    : port(stackPort),
      differences(itsDifferences),
      turn(loop),
      watch("RouteWatch"),
      requests(port, [this] { Wake(); }),
      feeder(book, requests,
             [this](const Place& place, const rows::RouteRow& row, RouteLane& lane,
                    std::uint64_t now) { Ask(place, row, lane, false, now); }),
      judge(book, requests, port, planned),
      pass(book, port,
           [this](const Place& place, const rows::RouteRow& row, const rows::StackRoute* found) {
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
  for (const rows::RouteRow& row : std::exchange(again, {})) {
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
      NoteAnswer(PlaceOf(request), request.status);
      break;
    case News::DONE:
      Conclude(request, true);
      break;
    case News::REFUSED:
    case News::DROPPED:
      Conclude(request, false);
  }
}

Place RouteKeeper::State::PlaceOf(const RouteRequest& request) const {
  return request.edition == book.GetEdition() ? request.place : book.Find(request.row);
}

void RouteKeeper::State::NoteAnswer(const Place& place, unsigned int status) {
  RouteLife* const life = status != 0 ? book.LifeOf(place) : nullptr;
  if (life != nullptr) {
    life->Answered(port.Now(), status);
  }
}

// The request is over. Whether it was for what is wanted now shows how the route stands.
void RouteKeeper::State::Conclude(RouteRequest& request, bool isDone) {
  RouteLane& lane = *request.lane;
  const rows::RouteRow row = request.row;
  const Place place = PlaceOf(request);
  NoteAnswer(place, isDone ? 1 : request.status);
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

void RouteKeeper::State::GiveUp(const Place& place, const rows::RouteRow& row, RouteLane& lane,
                                unsigned int status) {
  book.Set(place, row, lane,
           {RouteState::REFUSED, std::min<std::uint32_t>(status, RouteState::LARGEST_VALUE)});
  const rows::Standing standing = judge.Look(row);
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
  for (const rows::RouteRow& row : pass.TakeHealed()) {
    const Place place = book.Find(row);
    if (!isPlanning && place.where != Place::NOWHERE &&
        book.StateOf(place, row).kind == RouteState::REFUSED) {
      Settle(place, row, book.GetLanes().Get(row.target.vlan));
    }
  }
}

void RouteKeeper::State::Settle(const Place& place, const rows::RouteRow& row, RouteLane& lane) {
  RouteRequests::DropGivenUp(row);
  book.Set(place, row, lane, {RouteState::SETTLED, 0});
  handover.Answered(row.target);
}

void RouteKeeper::State::Ask(Place place, const rows::RouteRow& row, RouteLane& lane, bool isRepeat,
                             std::uint64_t now) {
  RouteRequest& request = requests.Begin();
  request.row = row;
  request.isRemoval = place.where != Place::WANTED;
  request.metric = request.isRemoval ? 0 : MetricOf(place);
  request.isRepeat = isRepeat;
  request.since = now;
  request.lane = &lane;
  book.Set(place, row, lane, {RouteState::UNDER_WAY, request.number});
  if (RouteLife* const life = book.LifeOf(place)) {
    life->Asked(now);
  }
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

void RouteKeeper::State::AskAgain(const rows::RouteRow& row) {
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

}  // namespace routes
