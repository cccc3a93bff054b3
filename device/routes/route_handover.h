// Routes that stay until others of their prefix take their place.
#ifndef DEVICE_ROUTES_ROUTE_HANDOVER_H
#define DEVICE_ROUTES_ROUTE_HANDOVER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "device/loop/loop_handles.h"
#include "device/rows/stack_port.h"
#include "route_book.h"
#include "tarsel/timer.h"

namespace routes {

/// Decides when a leaving route may go whose prefix has wanted ones. It goes when one of these has
/// been accepted and, where the leaving one is installed, the stack could install that one as well.
/// Until then it is held: AWAITING as long as a request for one of them has no answer, KEPT
/// afterwards. A KEPT route is no unfinished work and no difference; it goes with a line in the log
/// when its time is over, or when the next configuration is applied.
///
/// It is looked when an answer comes for a wanted route of the prefix. Nobody tells that a next hop
/// is reached from now on. So all that are held are looked at, in slices of the loop's turns, when
/// something is heard of interfaces and addresses, and then after pauses that double.
class RouteHandover {
 public:
  /// How many held routes are looked at in one turn of the loop.
  static constexpr std::size_t LOOKS_A_TURN = 250;
  struct Options {
    /// How long a route is held at most; 0 for not at all.
    std::uint64_t milliseconds = 60000;
    /// Takes a line without its end, for the log. May be empty.
    std::function<void(const std::string& line)> report = {};
    /// For the words of routes. May be empty.
    rows::InterfaceNames names = {};
  };

  /// `wake` is called when a route is to be removed. The port and the book are borrowed.
  RouteHandover(uv_loop_s* loop, const rows::StackPort& port, RouteBook& book, Options options,
                std::function<void()> wake);
  RouteHandover(const RouteHandover&) = delete;
  RouteHandover& operator=(const RouteHandover&) = delete;

  /// For a plan that is begun now. `endsKept` says that it is that of another configuration: routes
  /// that are kept then go, with a line each. Nothing is looked at until PlanEnded.
  RouteBook::Holding BeginPlan(bool endsKept);
  /// The plan has been carried out.
  void PlanEnded(const RouteBook::Plan& plan);
  /// Nothing is held any more: the book has been emptied, and a plan has been given up.
  void Forget();

  /// A request for a wanted route of the prefix is over.
  void Answered(const documents::RouteTarget& prefix);
  /// What becomes of a leaving route of which it turns out late that the stack has it. `state` is
  /// that of a route that is to be asked for.
  RouteState StateOfLate(const rows::RouteRow& row, const RouteState& state, bool isChanged) const;
  /// Something is heard that may let a next hop be reached.
  void LookSoon();
  /// A configuration is applied that wants the same routes: those that are kept go, too.
  void EndKept();

  /// Whether there are kept routes that may have a successor in a moment: what was heard last was
  /// heard less than a fifth of a second ago. The stack takes its time for what follows from an
  /// address.
  bool IsEarly() const;
  /// In how many seconds all that are held go at the latest; 0 if nothing is.
  std::uint64_t CountSecondsLeft() const;
  /// The next kept routes after `last`, or the first ones for a null pointer.
  std::vector<rows::RouteRow> ReadKept(const rows::RouteRow* last, std::size_t most) const;

 private:
  enum class Ending { NONE, KEPT, ALL };

  void Post();
  void Turn();
  void BeginLook();
  bool LookAtSome();
  void Look(std::size_t position);
  void LetGo(std::size_t position);
  bool CanTakeOver(const rows::RouteRow& row) const;
  bool IsNeeded(const rows::StackRoute& present) const;
  void End(Ending ending, const std::string& why);
  void Report(const std::vector<rows::RouteRow>& first, std::size_t count,
              const std::string& why) const;
  void Schedule(std::uint64_t milliseconds);
  void WhenDue(unsigned int, void*);
  std::size_t CountHeld() const { return m_book.CountAwaiting() + m_book.CountKept(); }

  const rows::StackPort& m_port;
  RouteBook& m_book;
  const Options m_options;
  const std::function<void()> m_wake;
  loop::Task m_turn;
  Tarsel::OneShotTimer m_timer;
  std::uint64_t m_due = 0;  // when the timer expires; 0 if it does not run
  bool m_isPlanning = false;
  std::uint64_t m_until = 0;       // how long routes are held
  Ending m_ending = Ending::NONE;  // those that go when they are looked at
  bool m_isLooking = false;        // at all that are held
  std::size_t m_at = 0;            // the position that this has come to
  unsigned int m_edition = 0;      // of the book, in which that is meant
  std::uint64_t m_began = 0;       // when the look began
  std::uint64_t m_took = 0;        // how long the last one took
  std::uint64_t m_pause = 0;       // before the next one
};

}  // namespace routes

#endif
