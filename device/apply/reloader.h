// Applies the configuration folder, at start-up and at each reload.
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

/// What the host supplies to the reloader.
struct ReloadHooks {
  /// Called for routes that wait and for routes with several metrics.
  program::Report report;
  /// Carries out `work`. Meanwhile the askers get each line, with its end, that the host or the
  /// library logs without a level: their complaints.
  std::function<void(const Askers& askers, const std::function<void()>& work)> overheard;
  /// Called once for each reload, after it has been applied.
  std::function<void()> applied;
};

/// A reload has the order of start-up: interfaces, the VLAN document, remote documents, routes,
/// redistribution. Two kinds of removal come before all that. A route of a VLAN that is about to go
/// has to be removed while the VLAN exists, because requests for a VLAN that is gone wait until it
/// comes back. A redistribution rule has to be withdrawn while its protocol is enabled, because
/// requests for a protocol that is not enabled are dropped. So these are removed first, and the
/// rest follows after their answers.
class Reloader {
 public:
  /// Everything is borrowed. Nothing else may use `answers`.
  Reloader(const documents::ConfigFolder& folder, Interfaces& interfaces,
           loop::SettledWait& answers, ReloadHooks hooks);

  /// Reads the folder. Call it once, before everything else.
  void Read();
  /// Applies what has been read. Call it once, at start-up.
  void Start() { Apply(); }
  /// Reads the folder again and applies it. If another reload is waiting for answers, this one
  /// follows it. `asker`, if there is one, gets what is logged without a level while the folder is
  /// read and while it is applied.
  void Reload(program::Report asker = {});
  /// The stack has been restarted and knows nothing: sends it everything that is in force again.
  /// For the library, answered requests are done; so its documents are withdrawn first and then
  /// applied again.
  void BringBack();
  bool IsBusy() const { return m_isWaiting; }

  /// What the folder said when it was last read.
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
