#include "route_feeder.h"

#include <algorithm>
#include <utility>

namespace routes {

using intent::ResolvedRoute;
using Place = RouteBook::Place;

namespace {

// How many requests a VLAN makes before it is the next one's turn.
constexpr std::size_t ROUTES_A_VLAN = 25;
// How long removals wait while no addition can be asked for.
constexpr std::uint64_t ADDITIONS_MILLISECONDS = 1000;

}  // namespace

RouteFeeder::RouteFeeder(RouteBook& book, const RouteRequests& requests, Ask ask)
    : m_book(book), m_requests(requests), m_ask(std::move(ask)) {}

bool RouteFeeder::Feed(std::uint64_t now) {
  std::size_t made = Feed(Asking::ADDITIONS, ROUTES_A_TURN, now);
  m_added = made != 0 ? now : m_added;
  if (MayRemove(now)) {
    made += Feed(Asking::REMOVALS, ROUTES_A_TURN - made, now);
  }
  return made == ROUTES_A_TURN;
}

bool RouteFeeder::MayRemove(std::uint64_t now) const {
  return m_book.CountToAsk(Asking::ADDITIONS) == 0 || now - m_added >= ADDITIONS_MILLISECONDS;
}

std::size_t RouteFeeder::Feed(Asking what, std::size_t most, std::uint64_t now) {
  RouteLanes& lanes = m_book.GetLanes();
  std::size_t made = 0;
  lanes.BeginRound(what);
  while (made < most && m_requests.CountUnderWay() < WINDOW) {
    RouteLane* const lane = lanes.Next(what);
    if (lane == nullptr) {
      return made;
    }
    const std::size_t room = lane->GetRoom(WINDOW - m_requests.CountUnderWay());
    const std::size_t count =
        AskSome(*lane, what, std::min({ROUTES_A_VLAN, most - made, room}), now);
    made += count;
    if (count != 0) {
      lanes.BeginRound(what);
    }
  }
  return made;
}

std::size_t RouteFeeder::AskSome(RouteLane& lane, Asking what, std::size_t most,
                                 std::uint64_t now) {
  const RouteSet& set = what == Asking::ADDITIONS ? m_book.GetWanted() : m_book.GetLeaving();
  std::size_t count = 0;
  for (; count < most && lane.work.Of(what).toAsk != 0; ++count) {
    const Place place = m_book.NextToAsk(lane, what);
    const ResolvedRoute& route = set.At(place.position);
    m_ask(place, {route.target, route.ifIndex}, lane, now);
  }
  return count;
}

}  // namespace routes
