// Brings the configuration folder into force, at start-up and again whenever it is asked to.
#ifndef DEVICE_HOST_LOADER_H
#define DEVICE_HOST_LOADER_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "config_folder.h"
#include "device_state.h"
#include "redistribution_feeder.h"
#include "report.h"
#include "route_feeder.h"
#include "settle.h"

namespace host {

/// The order is that of start-up: interfaces, the VLAN document, remote documents, routes,
/// redistribution. One thing comes before all that: a route of a VLAN that is about to go has to be
/// removed while the VLAN is still there, since requests for a VLAN that is gone wait until it comes
/// back; and a redistribution rule has to be withdrawn while its protocol is enabled, since requests
/// for a protocol that is not are thrown away. So these are removed first, and the rest follows when
/// the answers are in.
class Loader {
 public:
  /// Everything is borrowed.
  Loader(ConfigFolder& folder, DeviceState& device, Settle& answers, Report report);

  /// Applies the folder as it has been read, before anything else is there.
  void Start() { Apply(); }
  /// Reads the folder again and applies it. A reload that is asked for while another waits for answers
  /// happens afterwards. `asker`, if there is one, is told what is logged without a level while the
  /// folder is read and while it is applied: the host's and the library's complaints. Each line comes
  /// with its end.
  void Reload(Report asker = {});
  /// The stack has been restarted and knows nothing: everything that is in force is brought to it
  /// again. The library forgets what it was asked for and answered, so it is taken to nothing first.
  void BringBack();
  bool IsBusy() const { return m_isWaiting; }
  const RouteFeeder& GetRoutes() const { return m_feeder; }
  const RedistributionFeeder& GetRedistribution() const { return m_redistribution; }

 private:
  void Begin();
  VlanIds FindLeavingVlans() const;
  bool WillBeEnabled(unsigned short vlan, Tarsel::DcRouterMgr::ProtocolType protocol) const;
  Rules PlanRedistribution(const IsEnabled& isEnabled) const;
  void Apply();
  void ApplyDocuments();
  void WithdrawDocuments();
  void ApplyRoutes();

  ConfigFolder& m_folder;
  DeviceState& m_device;
  Settle& m_answers;
  const Report m_report;
  RouteFeeder m_feeder;
  RedistributionFeeder m_redistribution;
  std::map<std::string, Tarsel::DclConfigObject::OptionType> m_applied;
  std::set<RouteKey> m_waitingRoutes;
  std::vector<Report> m_askers;  // of the reload that waits, and of the next one
  bool m_isWaiting = false;
  bool m_isAskedAgain = false;
};

}  // namespace host

#endif
