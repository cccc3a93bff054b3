// A routing stack that does nothing, to measure the library alone: the identifier builders are
// real, requests are counted and dropped, and what comes back is played by the caller.
//
// Linked instead of the software stack (prepared_system), never beside it.
#ifndef TESTS_SUPPORT_PREPARED_STACK_H
#define TESTS_SUPPORT_PREPARED_STACK_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "stack/sms.h"

namespace prepared_stack {

/// What the stack says to one route request, made before anything is measured.
struct RouteAnswer {
  /// The answer "done" to an IPv4 host route of `vlan`: 20.0.0.0 plus `number`, by way of 10.1.2.1
  /// on interface 3, of metric 5, as AddRoute asks for it.
  RouteAnswer(unsigned short vlan, std::uint32_t number);
  /// Reports the outcome, then the end of the row's request.
  void Give();

  unsigned short vlan;
  unsigned char destination[4];
  std::uint32_t oid[9];  // a route's identifier has as many sub-identifiers as a route has values
  std::uint32_t oidLength;
};

std::vector<RouteAnswer> RouteAnswers(unsigned short vlan, std::uint32_t count);

/// Asks for the route that RouteAnswer(vlan, number) answers.
void AddRoute(unsigned short vlan, std::uint32_t number);

/// Route requests so far; RIB walks asked for and not played yet.
std::size_t RouteRequests();

/// Plays the RIB walk that was asked for last: every row, then the end.
void PlayRibWalk(const std::vector<amb_cipr_rtm_rib>& rows);

}  // namespace prepared_stack

#endif
