// The static routes: what is wanted, what has been asked for, and what came of it.
#ifndef DEVICE_ROUTES_ROUTE_KEEPER_H
#define DEVICE_ROUTES_ROUTE_KEEPER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "device/documents/vlan_settings.h"
#include "device/intent/route_resolution.h"
#include "device/loop/loop_handles.h"
#include "device/rows/differences.h"
#include "device/rows/keeper.h"
#include "device/rows/stack_port.h"
#include "route_feeder.h"
#include "route_handover.h"

namespace routes {

/// Knows of each wanted route, and of each that has to go, whether it is still to be asked for,
/// under way, accepted or refused, and asks for the next ones when there is room.
///
/// Requests are items of the host's own in the library's scheduler (AskedRoute): the same requests
/// as AddRoute and RemoveRoute make, whose answers reach this keeper. One request of a row is under
/// way at a time: what changes meanwhile is asked for when the answer has come. At most WINDOW
/// requests are under way, because an item takes some 700 bytes and a wanted route a tenth of that;
/// so the library has little to hold however many routes there are. VLANs take turns, and a part of
/// the window is kept for those with few requests under way (RouteLane::KEPT_FOR_OTHERS). Once a
/// VLAN has a request that is being retried, no more than Differences::REPEATS_A_VLAN of it are
/// under way, so that the others do not wait for it.
///
/// Whatever is to be there is asked for first, in all VLANs, then what has to go and has nothing in
/// its place. No removal waits for an answer, except for those of routes that are replaced
/// (RouteHandover). A route whose metric alone changes is asked for once.
///
/// A request that is given up (refused for good, or ten times for now) becomes a difference, which
/// is asked for again by Differences.
class RouteKeeper : public rows::Keeper {
 public:
  static constexpr std::size_t WINDOW = RouteFeeder::WINDOW;
  /// How many requests are made in one turn of the loop: each takes about two microseconds, and ten
  /// when it is logged.
  static constexpr std::size_t ROUTES_A_TURN = RouteFeeder::ROUTES_A_TURN;

  RouteKeeper(uv_loop_s* loop, const rows::StackPort& port, rows::Differences& differences,
              RouteHandover::Options options = {});
  ~RouteKeeper() override;

  /// Makes what is wanted another set, in three steps: the first in the loop, the second anywhere,
  /// the third in the loop again. Between the first and the third nothing is asked for, and what is
  /// heard or forgotten meanwhile counts from the third on. A plan ends with CarryOut or Forget.
  /// One that has been carried out holds the old routes, to be freed anywhere.
  struct Plan;
  std::shared_ptr<Plan> BeginPlan(bool endsKept = false);
  /// `unresolved` are those that are wanted and cannot be asked for.
  static void MakePlan(Plan& plan, intent::SharedRoutes wanted,
                       intent::SharedUnresolved unresolved = nullptr) noexcept;
  void CarryOut(Plan& plan);

  /// The routes that are wanted. Never null.
  const intent::SharedRoutes& GetWanted() const;
  /// Those that wait for a VLAN or an interface. Never null.
  const intent::SharedUnresolved& GetUnresolved() const;
  /// Everything that is known of routes, for those who show it. Places in it are good until the
  /// loop's next turn.
  const RouteBook& GetBook() const;
  /// The number of the revision that plans which are begun from now on are of.
  void SetRevision(unsigned int revision);

  /// Whether a removal of any route of the VLAN is still to be made or under way. One that has been
  /// given up does not count, nor one of a VLAN that lacks an instance: it may wait for ever.
  bool HasLeavingRoutes(unsigned short vlan) const;
  /// Whether the stack may have a route of the VLAN, wanted or not. So too.
  bool MayHaveRoutes(unsigned short vlan) const;

  /// A configuration is applied that wants the same routes: those that are kept go now, with a line
  /// in the log. The plan of another one does that by itself (`endsKept`).
  void EndKept();
  /// Something has been heard of interfaces or addresses. May be called from inside the stack's
  /// run.
  void LookAtKeptSoon();
  /// Whether there are kept routes that are likely to have a successor in a moment.
  bool MayEndKept() const;
  /// How many leaving routes are in force because no other one of their prefix can take their
  /// place, though none of these is under way. They are neither open nor differences.
  std::size_t CountKept() const override;
  std::vector<rows::Row> FirstKept(std::size_t most) const override;
  /// In how many seconds they go at the latest, and those that wait for an answer with them.
  std::uint64_t CountSecondsOfKept() const;
  /// The next of them after `last`, or the first ones for a null pointer.
  std::vector<rows::RouteRow> ReadKept(const rows::RouteRow* last, std::size_t most) const;

  /// Forgets what has been asked for, what the stack has and what is wanted: for a stack that has
  /// lost everything. What the library still has of it goes with the next passes of its scheduler,
  /// those requests that it takes for issued once the scheduler has been reset. A plan is given up.
  void Forget();
  /// The stack has lost the routes of the VLAN, whose instances have been made anew or, if
  /// `hasGone`, have gone with it. Those that are wanted are asked for again, like those that have
  /// never been asked for; those of a VLAN that has gone only if the next plan wants them.
  void ForgetVlan(unsigned short vlan, bool hasGone = false);

  /// How many requests are still to be made or without an answer, those of known differences left
  /// out.
  std::size_t CountOpen() const;
  /// How many of these belong to the VLAN.
  std::size_t CountOpen(unsigned short vlan) const;
  /// How many of those are of routes that are to go. While the removals of known differences are
  /// repeated it may be that many more.
  std::size_t CountOpenRemovals(unsigned short vlan) const;
  /// A number that grows with each request and each answer, those of repeats left out: a row that
  /// is refused for good is asked for again for ever.
  std::uint64_t GetProgress() const;
  /// How many requests the stack has answered for good: with success, or with a refusal after which
  /// the library tries no more.
  std::uint64_t CountConcluded() const;
  /// How many items wait in the library's scheduler to be sent, or for their answer, and how many
  /// of these are being retried.
  std::size_t CountUnderWay() const;
  std::size_t CountRetried() const;

  /// A request without an answer.
  struct UnderWay {
    rows::RouteRow row;
    bool isRemoval = false;
    bool isRetried = false;   // an answer asked for another try
    unsigned int status = 0;  // of that answer
    std::uint64_t since = 0;  // by the port's clock
  };
  /// All of them, at most WINDOW, in the order of the routes.
  std::vector<UnderWay> ReadUnderWay() const;
  /// What a VLAN's routes have before them.
  struct Waiting {
    std::size_t additions = 0;  // that are to be asked for
    std::size_t removals = 0;   // so too
    std::size_t awaiting = 0;   // old routes whose successor has not been answered
    std::size_t kept = 0;       // old routes, as CountKept counts them
    std::size_t underWay = 0;
    bool hasRoom = true;  // for another request of the VLAN
  };
  Waiting FindWaiting(unsigned short vlan) const;
  /// How many routes of all VLANs are to be asked for, to be there or to be there no more. Kept.
  std::size_t CountToAsk() const;

  const char* GetName() const override { return "routes"; }
  std::size_t CountWanted() const override;
  void BeginPass() override;
  bool ContinuePass(std::size_t most, const Found& found) override;
  rows::Standing Look(const rows::Row& row) const override;
  void AskAgain(const rows::Row& row) override;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace routes

#endif
