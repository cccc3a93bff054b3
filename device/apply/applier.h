// Makes an intent the device's configuration.
#ifndef DEVICE_APPLY_APPLIER_H
#define DEVICE_APPLY_APPLIER_H

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "device/intent/intent.h"
#include "device/intent/route_plan.h"
#include "device/loop/disposal.h"
#include "device/loop/loop_handles.h"
#include "device/loop/settled_wait.h"
#include "device/loop/work.h"
#include "document_feeder.h"
#include "interfaces.h"
#include "redistribution_feeder.h"
#include "route_feeder.h"

namespace apply {

/// Applying has the order of start-up: interfaces, the VLAN document, remote documents, the
/// announcement of interfaces to new VLANs, routes, redistribution. Two kinds of removal come before
/// all that. A route of a VLAN that is about to go has to be removed while the VLAN exists, because
/// requests for a VLAN that is gone wait until it comes back. A redistribution rule has to be
/// withdrawn while its protocol is enabled, because requests for a protocol that is not enabled are
/// dropped. So these are removed first, and the rest follows after their answers.
///
/// Each of these stages has turns of the loop of its own: a document a turn, requests by the slice.
/// What is to be requested is worked out in the thread pool.
class Applier {
 public:
  /// Routes that are requested, destinations of redistribution that are looked at, and VLANs that
  /// are announced to, in one turn. A request of a route takes about two microseconds, and ten when
  /// it is logged; a destination takes a few such requests. So a slice leaves most of ten
  /// milliseconds to the library's timers, which may have five in the same turn.
  static constexpr std::size_t ROUTES_A_TURN = 250;
  static constexpr std::size_t DESTINATIONS_A_TURN = 250;
  static constexpr std::size_t VLANS_A_TURN = 500;

  struct Hooks {
    /// Carries out a piece of a stage.
    std::function<void(const std::function<void()>& work)> stage;
    /// Carries out the library's own work on one document.
    std::function<void(const std::function<void()>& work)> library;
  };

  /// Everything except the hooks is borrowed. Nothing else may use `answers`.
  Applier(uv_loop_s* loop, Interfaces& interfaces, loop::SettledWait& answers,
          loop::Disposal& disposal, Hooks hooks);

  /// Applies `wanted` and calls `done` from the loop. Not before the last `done`. `isSame` says that
  /// `wanted` says the same as what was applied last. Then routes are compared only if VLANs or
  /// interfaces have changed since, and the library's documents only if any is not the one that it
  /// has. Interfaces and rules are compared each time, because that is cheap and an operator may
  /// have changed them since: what happens to an interface between two documents is undone by the
  /// next.
  void Apply(std::shared_ptr<const intent::Intent> wanted, bool isSame, std::function<void()> done);

  /// The stack has been restarted and knows nothing: sends it again everything that is in force. For
  /// the library, answered requests are done; so its documents are withdrawn first and then applied
  /// again, and whatever it had queued is forgotten. That happens inside this call, the rest in
  /// turns of the loop.
  ///
  /// What is being applied is in force from the first stage on. It is brought back like anything
  /// else, and afterwards applied from its interfaces on, whatever stage it was in. What is being
  /// brought back begins anew. An Apply that comes meanwhile follows.
  void BringBack();

  /// Whether anything is being applied or brought back.
  bool IsBusy() const { return m_isApplying || m_isRestoring; }

  const RouteFeeder& GetRoutes() const { return m_routes; }
  const RedistributionFeeder& GetRedistribution() const { return m_redistribution; }

 private:
  using Stage = void (Applier::*)();

  // What the pool has worked out for a stage of requests.
  struct Plan {
    std::shared_ptr<const intent::RoutePlan> routes;  // null for nothing
    RedistributionFeeder::SharedRules rules;
  };

  void Begin();
  void Next(Stage stage);
  void PlanInPool(std::function<void(Plan& plan)> work, Stage then);

  // The stages, in their order. Each request stage has turns of RequestRoutes and RequestRules.
  void PlanRemovals();
  void AwaitAnswers();
  void ApplyInterfaces();
  void LoadDocument();
  void BringInterfacesBack();
  void Announce();
  void PlanRequests();
  void End();
  void RequestRoutes();
  void RequestRules();

  Interfaces& m_interfaces;
  loop::SettledWait& m_answers;
  loop::Disposal& m_disposal;
  const Hooks m_hooks;
  loop::Task m_turn;
  loop::Work m_comparing;

  std::shared_ptr<const intent::Intent> m_intent;
  std::shared_ptr<const intent::Intent> m_next;  // to be applied; null if that has begun
  bool m_isNextSame = false;
  std::function<void()> m_done;
  bool m_isApplying = false;
  bool m_isRestoring = false;

  DocumentFeeder m_documents;
  RouteFeeder m_routes;
  RedistributionFeeder m_redistribution;
  Plan m_plan;                             // that is being carried out
  Stage m_afterRequests = nullptr;         // what follows its requests
  std::size_t m_requests = 0;              // how many it has taken
  documents::VlanIds m_knownVlans;         // that interfaces have been announced to
  std::vector<unsigned short> m_newVlans;  // that interfaces are still to be announced to
  intent::RouteContext m_resolvedIn;       // what routes were resolved in last
  bool m_isResolved = false;               // whether the routes that this gave are still wanted
  std::vector<loop::Disposal::Thing> m_leftOvers;
};

}  // namespace apply

#endif
