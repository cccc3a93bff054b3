// The few things that a host may do to the software routing stack, beside its requests.
//
// For hosts, the daemon included. None of them changes a row. What the stack has is in facts.h;
// faults, limits and holds of the stack itself are in stack_control.h.
//
// Owner and lifetime: the upkeep belongs to its RoutingStack (GetUpkeep()) and lives as long as it.
// Every member is called on the stack's thread, also from inside a callback or a walk's handler,
// but not from inside a Listener. None of them fails.
#ifndef DEVICE_STACK_UPKEEP_H
#define DEVICE_STACK_UPKEEP_H

#include <cstddef>
#include <cstdint>

#include "stack/sms.h"

namespace routing_stack {

class Engine;

/// More next hops than so many no route has.
constexpr std::size_t kMostNextHops = 64;

class SMS_API Upkeep {
 public:
  /// Made by the stack; `engine` is borrowed and outlives the upkeep.
  explicit Upkeep(Engine& engine) : m_engine(engine) {}
  Upkeep(const Upkeep&) = delete;
  Upkeep& operator=(const Upkeep&) = delete;

  // Walks, by their numbers (Facts::Walks()). The number of one that has ended, or never was, is
  // ignored.

  /// The walk's handler is not called until the walk goes on, for the end of the table neither. A
  /// held walk keeps its place. It needs no run of the stack, and the stack may be idle with it. A
  /// restart of the stack ends it like any other.
  void HoldWalk(unsigned int number);
  /// Ends the hold and asks the host for a run. Ignored for a walk that is not held.
  void GoOnWithWalk(unsigned int number);
  /// The walk's handler is called once more, in the next run, with result 8, whether the walk is
  /// held or not. From inside the walk's own handler that comes after the present call, unless the
  /// handler ends the walk itself. A walk that is to end cannot be held.
  void EndWalk(unsigned int number);

  /// Reports the end (cRunPendingAction) of each row whose request was never answered, because of a
  /// script or of a restart, so that the library lets later requests for the row go on. Each such
  /// row is reported once, in the order of the identifiers, from inside this call. Returns whether
  /// there was any. Requests that the library makes in turn are queued as usual.
  bool EndLostRequests();

  /// From now on a route of the VLAN, in both families, leads to at most `most` next hops: those of
  /// equal candidates (facts.h). 0 counts as 1, which is what a VLAN has from the beginning, and
  /// more than kMostNextHops as that many. It holds for instances that are there and for those to
  /// come, over restarts of the stack as well. What stands is chosen anew in steps: until
  /// Facts::HasWork() is false, routes may have the next hops that they had.
  void SetMostNextHops(std::uint32_t vlan, std::size_t most);

 private:
  Engine& m_engine;
};

}  // namespace routing_stack

#endif
