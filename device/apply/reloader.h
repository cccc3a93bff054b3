// Brings the configuration folder into force, at start-up and again whenever it is asked to.
#ifndef DEVICE_APPLY_RELOADER_H
#define DEVICE_APPLY_RELOADER_H

#include <functional>
#include <set>
#include <vector>

#include "device/documents/config_folder.h"
#include "device/intent/intent.h"
#include "device/loop/settled_wait.h"
#include "device/program/report.h"
#include "document_feeder.h"
#include "interfaces.h"
#include "redistribution_feeder.h"
#include "route_feeder.h"

namespace apply {

using Askers = std::vector<program::Report>;

/// What the reloader needs and does not choose.
struct ReloadHooks {
  /// Hears of routes that wait and of routes with several metrics.
  program::Report report;
  /// Carries out `work` while the askers hear what is logged without a level: the host's and the
  /// library's complaints. Each line comes with its end.
  std::function<void(const Askers& askers, const std::function<void()>& work)> overheard;
  /// A reload has been applied. Called once for each.
  std::function<void()> applied;
};

/// The order is that of start-up: interfaces, the VLAN document, remote documents, routes,
/// redistribution. One thing comes before all that: a route of a VLAN that is about to go has to be
/// removed while the VLAN is still there, since requests for a VLAN that is gone wait until it comes
/// back; and a redistribution rule has to be withdrawn while its protocol is enabled, since requests
/// for a protocol that is not are thrown away. So these are removed first, and the rest follows when
/// the answers are in.
class Reloader {
 public:
  /// Everything is borrowed. `answers` is nobody else's.
  Reloader(const documents::ConfigFolder& folder, Interfaces& interfaces,
           loop::SettledWait& answers, ReloadHooks hooks);

  /// Reads the folder. To be called once, before everything else.
  void Read();
  /// Applies what has been read, before anything else is there.
  void Start() { Apply(); }
  /// Reads the folder again and applies it. A reload that is asked for while another waits for answers
  /// happens afterwards. `asker`, if there is one, is told what is logged without a level while the
  /// folder is read and while it is applied.
  void Reload(program::Report asker = {});
  /// The stack has been restarted and knows nothing: everything that is in force is brought to it
  /// again. The library forgets what it was asked for and answered, so it is taken to nothing first.
  void BringBack();
  bool IsBusy() const { return m_isWaiting; }

  /// What is wanted: what the folder said when it was last read.
  const intent::Intent& GetIntent() const { return m_intent; }
  const RouteFeeder& GetRoutes() const { return m_routes; }
  const RedistributionFeeder& GetRedistribution() const { return m_redistribution; }

 private:
  void Begin();
  std::size_t RemoveFirst();
  void Finish();
  void Apply();
  void ApplyRoutes();
  void ApplyRules();

  const documents::ConfigFolder& m_folder;
  Interfaces& m_interfaces;
  loop::SettledWait& m_answers;
  const ReloadHooks m_hooks;
  documents::Folder m_read;
  intent::Intent m_intent;
  DocumentFeeder m_documents;
  RouteFeeder m_routes;
  RedistributionFeeder m_redistribution;
  std::set<documents::RouteKey> m_waitingRoutes;  // for their interface; told to the operator once
  Askers m_askers;                                // of the reload that waits, and of the next one
  bool m_isWaiting = false;
  bool m_isAskedAgain = false;
};

}  // namespace apply

#endif
