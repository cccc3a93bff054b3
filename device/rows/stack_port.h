// What the keepers and whoever uses them need to know of the routing stack.
//
// The library tells the host no answer. What the host wants to know all the same, it asks the
// stack: device/ports implements this interface with the software stack's headers (stack_port.h
// there is the example to follow). A device maker's host implements it with the real stack, or
// begins with NoStackPort (no_stack_port.h), which knows nothing, and overrides what its stack can
// tell.
//
// The answers for routes and rules need no port: they reach the host's own items in the library's
// scheduler. For the other kinds of rows (instances, interfaces, addresses, the protocols' rows)
// the port is the only source.
#ifndef DEVICE_ROWS_STACK_PORT_H
#define DEVICE_ROWS_STACK_PORT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "device/intent/route_resolution.h"
#include "row.h"
#include "stack/rows.h"

namespace rows {

/// Hears what the stack does. The Reloader is one. Everything may be called from inside the stack's
/// run: the listener only notes what it hears, and calls neither the stack nor the library.
class StackListener {
 public:
  virtual ~StackListener() = default;
  /// The stack has finished a request for the row with this status: 1 for success. Not called for
  /// routes and rules, except that 0, for every kind of row, tells the end of a request that was
  /// never answered.
  virtual void Answered(const Row& row, unsigned int status) = 0;
  /// The stack has lost everything and has begun anew.
  virtual void Restarted() = 0;
};

/// How many requests of all kinds the stack has answered so far.
struct AnswerCounts {
  std::uint64_t done = 0;
  std::uint64_t refused = 0;
};

/// An instance as the stack has it.
struct StackInstance {
  InstanceRow row;
  /// The distances, as the words 6, 7, 8, 9 and 14 of its row.
  std::array<std::uint32_t, 5> distances{};
};

/// A static route as the stack has it.
struct StackRoute {
  intent::ResolvedRoute route;
  bool isUp = true;
  /// Whether the stack could install it now: its next hop is reached. A route that replaces an
  /// installed one is waited for until it could be (RouteHandover). A port that cannot tell says
  /// yes: then the route takes over when it has been accepted.
  bool isInstallable = true;
  /// Whether it is the one of its prefix that forwards. One that is not may go at any time. A port
  /// that cannot tell says no.
  bool isInstalled = false;
};

/// Queries may be made at any time on the loop's thread, from inside the stack's run as well; they
/// never call back, wait or throw. The slices are the next rows after `last`, or the first ones for
/// a null pointer, at most `most`, in the order of the stack's keys; an empty slice is the end.
/// `last` may have gone meanwhile. What is returned is the caller's.
class StackPort {
 public:
  virtual ~StackPort() = default;

  /// Milliseconds on a clock that never goes back.
  virtual std::uint64_t Now() const = 0;
  /// From now on the listener hears; null ends it. It is borrowed. There is one at a time.
  virtual void SetListener(StackListener* listener) = 0;

  /// Whether the reading functions below tell what the stack has. If not, nobody relies on what
  /// they return: no row of the stack is missing, other than wanted or a stray. What is left to go
  /// by are the answers for routes and rules. It must be the same as long as the port lives.
  virtual bool KnowsTables() const { return true; }

  /// Whether the stack takes requests: it has announced that (cI3Ready) since it began. While it is
  /// not ready, nothing is compared and the device is not settled.
  virtual bool IsReady() const = 0;
  /// Whether somebody holds the stack: it stands still, and answers nothing meanwhile. A port that
  /// cannot tell says no.
  virtual bool IsHeld() const { return false; }
  /// Kept, not counted; they never go back. A port that cannot tell says 0.
  virtual AnswerCounts CountAnswers() const { return {}; }
  /// Whether any request waits for its end in the stack, those that will never be answered
  /// included. The device is not settled meanwhile.
  virtual bool HasUnfinished() const = 0;
  /// Whether a request for the row does. A route or a rule of which this says no has lost its
  /// request if the library still waits for the answer: it is asked for again. So a port that
  /// cannot tell says yes for routes and rules. For the other kinds yes means under way, and that
  /// it is not compared.
  virtual bool IsUnfinished(const Row& row) const = 0;
  /// Since when, by Now(), the oldest of them waits; 0 if the port does not know. Not for routes
  /// and rules.
  virtual std::uint64_t UnfinishedSince(const Row& row) const {
    static_cast<void>(row);
    return 0;
  }
  /// The status of the last answer for the row if that was not a success, else 0. It is the reason
  /// that the log and `verify` give for a difference. Routes and rules have none here.
  virtual unsigned int GetRefusal(const Row& row) const = 0;

  /// By instance id: the IPv4 instances first.
  virtual std::vector<StackInstance> ReadInstances(const StackInstance* last,
                                                   std::size_t most) const = 0;
  virtual std::optional<StackInstance> FindInstance(const InstanceRow& row) const = 0;
  /// By instance id and index.
  virtual std::vector<amb_stubs_i3_ei> ReadInterfaces(const amb_stubs_i3_ei* last,
                                                      std::size_t most) const = 0;
  virtual std::optional<amb_stubs_i3_ei> FindInterface(unsigned int instance,
                                                       std::uint32_t ifIndex) const = 0;
  /// By instance id, index and address.
  virtual std::vector<amb_stubs_i3_ea> ReadAddresses(const amb_stubs_i3_ea* last,
                                                     std::size_t most) const = 0;
  virtual std::optional<amb_stubs_i3_ea> FindAddress(const AddressRow& row) const = 0;
  /// By instance id, prefix, next hop and interface.
  virtual std::vector<StackRoute> ReadRoutes(const StackRoute* last, std::size_t most) const = 0;
  virtual std::optional<StackRoute> FindRoute(const RouteRow& row) const = 0;
  /// By instance id, source and destination. Those that are down are left out.
  virtual std::vector<RuleRow> ReadRules(const RuleRow* last, std::size_t most) const = 0;
  virtual bool HasRule(const RuleRow& row) const = 0;

  /// The host's part of a restart, called from the loop after StackListener::Restarted: reports the
  /// end (cRunPendingAction) of every request that was never answered, and runs the stack for at
  /// most 10 ms, so that the library issues and frees what it had queued for their rows. Returns
  /// whether nothing is left. What is left is never freed.
  virtual bool EndLostRequests() = 0;
};

}  // namespace rows

#endif
