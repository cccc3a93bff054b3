// How a route stands.
#ifndef DEVICE_APPLY_ROUTE_JUDGE_H
#define DEVICE_APPLY_ROUTE_JUDGE_H

#include <cstdint>

#include "asked_route.h"
#include "keeper.h"
#include "route_book.h"
#include "stack_port.h"

namespace apply {

/// Holds what is known of a route against what the stack has.
class RouteJudge {
 public:
  /// Everything is borrowed. `planned` is when the last plan was carried out.
  RouteJudge(const RouteBook& book, const RouteRequests& requests, const StackPort& port,
             const std::uint64_t& planned)
      : m_book(book), m_requests(requests), m_port(port), m_planned(planned) {}

  /// `found` is null if the stack does not have it.
  Standing Judge(const RouteBook::Place& place, const RouteRow& row, const StackRoute* found) const;
  /// Asks the stack.
  Standing Look(const RouteRow& row) const;
  /// Whether a request is under way that will never be answered.
  bool IsLost(const RouteState& state) const;

 private:
  const RouteBook& m_book;
  const RouteRequests& m_requests;
  const StackPort& m_port;
  const std::uint64_t& m_planned;
};

/// The stack has no routes of an instance that it does not have; a request for one waits.
bool IsInstanceReady(unsigned short vlan, bool ip6);

}  // namespace apply

#endif
