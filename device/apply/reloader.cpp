#include "reloader.h"

#include <utility>

#include "device/program/printable.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace apply {

using Tarsel::DcRouterMgr;

Reloader::Reloader(const documents::ConfigFolder& folder, Interfaces& interfaces,
                   loop::SettledWait& answers, ReloadHooks hooks)
    : m_folder(folder), m_interfaces(interfaces), m_answers(answers), m_hooks(std::move(hooks)) {}

void Reloader::Read() {
  m_read = m_folder.Read(m_read);
  m_intent = intent::MakeIntent(m_read, m_hooks.report);
}

void Reloader::Reload(program::Report asker) {
  if (asker) {
    m_askers.push_back(std::move(asker));
  }
  if (m_isWaiting) {
    m_isAskedAgain = true;
  } else {
    Begin();
  }
}

void Reloader::Begin() {
  m_hooks.overheard(m_askers, [this] {
    Read();
    m_isWaiting = RemoveFirst() != 0;
    if (!m_isWaiting) {
      Apply();
    }
  });
  if (m_isWaiting) {
    m_answers.Wait(0, [this](bool) { Finish(); });
  } else {
    m_askers.clear();
    m_hooks.applied();
  }
}

// What has to go while VLANs and protocols are still as they were. Returns how many requests
// that took. Which protocols will be enabled is a forecast: routers may refuse what documents say.
std::size_t Reloader::RemoveFirst() {
  const intent::PresentVlans present = FindPresentVlans();
  const documents::ProtocolSets enabled =
      intent::FindEnabledProtocols(present, m_documents.GetApplied(), m_intent.documents);
  return m_routes.RemoveVlans(intent::FindLeavingVlans(present, m_intent.documents)) +
         m_redistribution.Withdraw(intent::PlanRules(m_intent.profiles, enabled));
}

void Reloader::Finish() {
  m_isWaiting = false;
  m_hooks.overheard(m_askers, [this] { Apply(); });
  m_hooks.applied();
  if (std::exchange(m_isAskedAgain, false)) {
    Begin();
  } else {
    m_askers.clear();
  }
}

void Reloader::Apply() {
  m_interfaces.Apply(m_intent.device, m_intent.NamedVlans());
  const intent::PresentVlans before = FindPresentVlans();
  m_documents.Push(m_intent.documents);
  for (const auto& vlan : DcRouterMgr::GetInstance()->GetVlans()) {
    if (before.count(vlan.first) == 0) {
      m_interfaces.AnnounceTo(vlan.first);
    }
  }
  ApplyRoutes();
  ApplyRules();
}

// What the library had queued was for the stack that is gone. A VLAN's record of readiness is as well,
// and would let requests through before the new stack knows the VLAN; so no VLAN outlives this.
void Reloader::BringBack() {
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  manager->GetSerializer().Reset();
  manager->GetCfgSched().Reset();
  m_documents.Withdraw();
  for (const auto& vlan : manager->GetVlans()) {
    Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(vlan.first);
  }
  m_routes.Forget();
  m_redistribution.Forget();
  m_documents.Push(m_intent.documents);
  m_interfaces.BringBack();
  for (const auto& vlan : manager->GetVlans()) {
    m_interfaces.AnnounceTo(vlan.first);
  }
  ApplyRoutes();
  ApplyRules();
}

// For the protocols that are enabled now that the documents have been applied.
void Reloader::ApplyRules() {
  documents::ProtocolSets enabled;
  for (const auto& [vlan, present] : FindPresentVlans()) {
    enabled[vlan] = present.protocols;
  }
  m_redistribution.Push(intent::PlanRules(m_intent.profiles, enabled));
}

void Reloader::ApplyRoutes() {
  const auto& vlans = DcRouterMgr::GetInstance()->GetVlans();
  std::vector<documents::RouteKey> waiting;
  m_routes.Push(intent::ResolveRoutes(
      m_intent.routes, [&](unsigned short vlan) { return vlans.count(vlan) != 0; },
      [this](unsigned short vlan, const std::string& name) {
        return m_interfaces.IndexOf(vlan, name);
      },
      waiting));
  for (const documents::RouteKey& key : waiting) {
    if (m_waitingRoutes.count(key) == 0) {
      m_hooks.report(m_intent.routes.at(key).origin.Text() + ": waits for interface " +
                     program::Quote(key.interface));
    }
  }
  m_waitingRoutes = std::set<documents::RouteKey>(waiting.begin(), waiting.end());
}

}  // namespace apply
