// Makes an intent the device's configuration.
#ifndef DEVICE_APPLY_APPLIER_H
#define DEVICE_APPLY_APPLIER_H

#include <functional>
#include <memory>
#include <vector>

#include "device/intent/intent.h"
#include "device/keepers/interfaces.h"
#include "device/keepers/knowledge.h"
#include "device/loop/disposal.h"
#include "device/loop/loop_handles.h"
#include "device/loop/work.h"
#include "document_feeder.h"
#include "tarsel/timer.h"

namespace apply {

/// Applying has the order of start-up: interfaces, the VLAN document, remote documents, the
/// announcement of interfaces to new VLANs, routes, redistribution. Rules that have to go are
/// withdrawn before all that; routes go after all that has to come. None of it waits for an answer
/// of the stack: what is wanted goes to the keepers of routes and rules, who ask for it as fast as
/// it is answered, and applying is over when they know it.
///
/// One thing has to wait. Requests for a VLAN that is gone wait until it comes back, so a VLAN goes
/// after its routes and rules have: until these removals have been answered (or given up, since
/// they go with the VLAN), a document of the host's own keeps it (DocumentFeeder::Keep). Everything
/// else is in force meanwhile, and other configurations may be applied.
///
/// A protocol stops after its rules: its documents wait until these have been withdrawn, but not
/// for the answers, and no longer than a second.
///
/// Each stage has turns of the loop of its own: a document a turn, VLANs by the slice. What routes
/// and rules are wanted, and which documents have to be handed over, is worked out in the thread
/// pool.
class Applier {
 public:
  /// VLANs that are announced to in one turn.
  static constexpr std::size_t VLANS_A_TURN = 500;

  struct Hooks {
    /// Carries out a piece of a stage.
    std::function<void(const std::function<void()>& work)> stage;
    /// Carries out the library's own work on one document.
    std::function<void(const std::function<void()>& work)> library;
  };

  /// Everything except the hooks is borrowed.
  Applier(uv_loop_s* loop, keepers::Interfaces& interfaces, keepers::Knowledge& knowledge,
          loop::Disposal& disposal, Hooks hooks);

  /// Applies `wanted` and calls `done` from the loop. Not before the last `done`. `isSame` says
  /// that `wanted` says the same as what was applied last. Then routes are compared only if VLANs
  /// or interfaces have changed since, and the library's documents only if any is not the one that
  /// it has. Interfaces and rules are compared each time, because that is cheap and an operator may
  /// have changed them since: what happens to an interface between two documents is undone by the
  /// next.
  void Apply(std::shared_ptr<const intent::Intent> wanted, bool isSame, std::function<void()> done);

  /// The stack has been restarted and knows nothing: sends it again everything that is in force.
  /// For the library, answered requests are done; so its documents are withdrawn first and then
  /// applied again, and whatever it had queued is forgotten. VLANs that are kept are not kept any
  /// longer. That happens inside this call, the rest in turns of the loop.
  ///
  /// What is being applied is in force from the first stage on. It is brought back like anything
  /// else, and that is all that was left to do for it; only if it had not come to its interfaces,
  /// it is applied from these on afterwards. What is being brought back begins anew. An Apply that
  /// comes meanwhile follows.
  void BringBack();

  /// Interfaces have come or gone since routes were resolved: resolves them again, in turns of the
  /// loop, with what is in force. What is under way is ended first.
  void ResolveAgain();

  /// Whether anything is being applied or brought back.
  bool IsBusy() const { return m_isApplying || m_isRestoring || m_isFollowingUp; }
  /// Whether a configuration is being applied, and whether the one in force is being brought back.
  bool IsApplying() const { return m_isApplying; }
  bool IsRestoring() const { return m_isRestoring; }
  /// The VLANs that are kept until their routes and rules are gone.
  const documents::VlanIds& GetLeavingVlans() const { return m_documents.GetKept(); }

 private:
  using Stage = void (Applier::*)();

  // What the pool has worked out. Null for no change.
  struct Plan {
    std::shared_ptr<routes::RouteKeeper::Plan> routes;
    routes::RuleKeeper::SharedRules rules;
    documents::VlanIds leaving;
  };

  void Begin();
  void Next(Stage stage);
  void PlanInPool(std::shared_ptr<routes::RouteKeeper::Plan> routes,
                  std::function<void(Plan& plan)> work, Stage then);

  // The stages, in their order.
  void PlanRemovals();
  void ApplyInterfaces();
  void PlanLoads();
  void AwaitRules();
  void LoadDocument();
  void BringInterfacesBack();
  void Announce();
  void PlanRequests();
  void End();

  void CarryOut(Plan& plan);
  void BeginDocuments(const documents::VlanIds& kept);
  void ForgetGoneVlans();
  documents::VlanIds FindUnfinished(const documents::VlanIds& leaving) const;
  void LookAtKept(unsigned int, void*);
  void LookAtRules(unsigned int, void*);
  void LetGo();

  keepers::Interfaces& m_interfaces;
  keepers::Knowledge& m_knowledge;
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
  // Something follows later: VLANs that were kept are let go, or routes are resolved again.
  bool m_isFollowingUp = false;
  bool m_isToResolve = false;          // after what is under way
  bool m_areInterfacesApplied = true;  // those of m_intent
  bool m_hasChanged = false;           // since the last comparison was asked for

  DocumentFeeder m_documents;
  documents::ProtocolSets m_stopping;      // with the documents that are being loaded
  unsigned int m_looksAtRules = 0;         // that have shown rules of these
  documents::VlanIds m_leaving;            // that the wanted documents do not have
  documents::VlanIds m_knownVlans;         // of the library, at the last look
  std::vector<unsigned short> m_newVlans;  // that interfaces are still to be announced to
  intent::RouteContext m_resolvedIn;       // what routes were resolved in last
  bool m_isResolved = false;               // whether the routes that this gave are still wanted
  std::vector<loop::Disposal::Thing> m_leftOvers;
  Tarsel::OneShotTimer m_looking;     // whether a kept VLAN may go
  Tarsel::OneShotTimer m_rulesLeave;  // whether a protocol may stop
};

}  // namespace apply

#endif
