// The order in which routes are asked for.
#ifndef DEVICE_ROUTES_ROUTE_FEEDER_H
#define DEVICE_ROUTES_ROUTE_FEEDER_H

#include <cstddef>
#include <cstdint>
#include <functional>

#include "asked_route.h"
#include "route_book.h"

namespace routes {

/// Chooses the routes that are asked for next, as long as there is room. An addition takes nothing
/// away, so additions come first, in all VLANs, and then removals. VLANs take turns. Additions that
/// find no room because those before them are not answered, of a VLAN that is not ready for
/// example, hold up removals for a second and no longer.
class RouteFeeder {
 public:
  /// How many requests are under way at most.
  static constexpr std::size_t WINDOW = 4096;
  /// How many are made in one call.
  static constexpr std::size_t ROUTES_A_TURN = 250;

  /// Asks for the route, which is not to be asked for afterwards.
  using Ask = std::function<void(const RouteBook::Place& place, const rows::RouteRow& row,
                                 RouteLane& lane, std::uint64_t now)>;

  /// Both are borrowed.
  RouteFeeder(RouteBook& book, const RouteRequests& requests, Ask ask);

  /// Returns whether there may be room for more.
  bool Feed(std::uint64_t now);
  /// Other routes are wanted from now on.
  void Planned(std::uint64_t now) { m_added = now; }

 private:
  bool MayRemove(std::uint64_t now) const;
  std::size_t Feed(Asking what, std::size_t most, std::uint64_t now);
  std::size_t AskSome(RouteLane& lane, Asking what, std::size_t most, std::uint64_t now);

  RouteBook& m_book;
  const RouteRequests& m_requests;
  const Ask m_ask;
  std::uint64_t m_added = 0;  // when an addition was asked for last
};

}  // namespace routes

#endif
