// How a route stands.
#ifndef DEVICE_ROUTES_ROUTE_JUDGE_H
#define DEVICE_ROUTES_ROUTE_JUDGE_H

#include <cstdint>

#include "asked_route.h"
#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "route_book.h"

namespace routes {

/// Holds what is known of a route against what the stack has.
class RouteJudge {
 public:
  /// Everything is borrowed. `planned` is when the last plan was carried out.
  RouteJudge(const RouteBook& book, const RouteRequests& requests, const rows::StackPort& port,
             const std::uint64_t& planned)
      : m_book(book), m_requests(requests), m_port(port), m_planned(planned) {}

  /// `found` is null if the stack does not have it.
  rows::Standing Judge(const RouteBook::Place& place, const rows::RouteRow& row,
                       const rows::StackRoute* found) const;
  /// Asks the stack.
  rows::Standing Look(const rows::RouteRow& row) const;
  /// Whether a request is under way that will never be answered.
  bool IsLost(const RouteState& state) const;

 private:
  const RouteBook& m_book;
  const RouteRequests& m_requests;
  const rows::StackPort& m_port;
  const std::uint64_t& m_planned;
};

/// The stack has no routes of an instance that it does not have; a request for one waits.
bool IsInstanceReady(unsigned short vlan, bool ip6);

}  // namespace routes

#endif
