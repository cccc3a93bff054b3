#include "applier.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace apply {

using intent::RoutePlan;
using Tarsel::DcRouterMgr;

namespace {

documents::VlanIds VlansOfLibrary() {
  documents::VlanIds vlans;
  for (const auto& vlan : DcRouterMgr::GetInstance()->GetVlans()) {
    vlans.insert(vlans.end(), vlan.first);
  }
  return vlans;
}

}  // namespace

Applier::Applier(uv_loop_s* loop, Interfaces& interfaces, loop::SettledWait& answers,
                 loop::Disposal& disposal, Hooks hooks)
    : m_interfaces(interfaces),
      m_answers(answers),
      m_disposal(disposal),
      m_hooks(std::move(hooks)),
      m_turn(loop),
      m_comparing(loop),
      m_intent(std::make_shared<const intent::Intent>()) {}

void Applier::Apply(std::shared_ptr<const intent::Intent> wanted, bool isSame,
                    std::function<void()> done) {
  m_next = std::move(wanted);
  m_isNextSame = isSame;
  m_done = std::move(done);
  m_isApplying = true;
  if (!m_isRestoring) {
    Begin();
  }
}

void Applier::Begin() {
  if (!m_isNextSame) {
    m_isResolved = false;
    m_leftOvers.push_back(m_intent);
  }
  m_intent = std::move(m_next);
  Next(&Applier::PlanRemovals);
}

void Applier::Next(Stage stage) {
  m_turn.Post([this, stage] { m_hooks.stage([this, stage] { (this->*stage)(); }); });
}

// What compares has no other problem than a lack of memory, which ends the process.
void Applier::PlanInPool(std::function<void(Plan&)> work, Stage then) {
  const auto plan = std::make_shared<Plan>();
  m_afterRequests = then;
  m_comparing.Start([plan, work = std::move(work)]() noexcept { work(*plan); },
                    [this, plan](const std::optional<std::string>&) {
                      m_plan = std::move(*plan);
                      m_requests = 0;
                      m_routes.Begin(m_plan.routes);
                      Next(&Applier::RequestRoutes);
                    });
}

// Which protocols will be enabled is a forecast: routers may refuse what documents say.
void Applier::PlanRemovals() {
  PlanInPool(
      [wanted = m_intent, present = FindPresentVlans(), applied = m_documents.GetApplied(),
       routes = m_routes.GetRoutes(), rules = m_redistribution.GetWanted()](Plan& plan) {
        const documents::ConfigFiles& documents = wanted->GetDocuments();
        const documents::VlanIds leaving = intent::FindLeavingVlans(present, documents);
        if (intent::HaveRoutes(*routes, leaving)) {
          plan.routes = std::make_shared<const RoutePlan>(
              intent::PlanRoutes(routes, std::make_shared<const intent::ResolvedRoutes>(
                                             intent::WithoutVlans(*routes, leaving))));
        }
        plan.rules = std::make_shared<const intent::Rules>(intent::FindStayingRules(
            *rules, intent::PlanRules(wanted->GetProfiles(),
                                      intent::FindEnabledProtocols(present, applied, documents))));
      },
      &Applier::AwaitAnswers);
}

void Applier::AwaitAnswers() {
  if (m_requests == 0) {
    Next(&Applier::ApplyInterfaces);
  } else {
    m_isResolved = false;
    m_answers.Wait(0, [this](bool) { Next(&Applier::ApplyInterfaces); });
  }
}

void Applier::ApplyInterfaces() {
  m_interfaces.Apply(m_intent->GetDevice(), m_intent->GetNamedVlans());
  m_knownVlans = VlansOfLibrary();
  m_documents.Begin(m_intent->GetDocuments());
  Next(&Applier::LoadDocument);
}

void Applier::LoadDocument() {
  bool isMore = false;
  m_hooks.library([&] { isMore = m_documents.Continue(); });
  if (isMore) {
    Next(&Applier::LoadDocument);
    return;
  }
  m_newVlans.clear();
  for (const unsigned short vlan : VlansOfLibrary()) {
    if (m_knownVlans.count(vlan) == 0) {
      m_newVlans.push_back(vlan);
    }
  }
  Next(m_isRestoring ? &Applier::BringInterfacesBack : &Applier::Announce);
}

void Applier::BringInterfacesBack() {
  m_interfaces.BringBack();
  Next(&Applier::Announce);
}

void Applier::Announce() {
  const std::size_t count = std::min(VLANS_A_TURN, m_newVlans.size());
  for (std::size_t i = 0; i < count; ++i) {
    m_interfaces.AnnounceTo(m_newVlans[i]);
  }
  m_newVlans.erase(m_newVlans.begin(), m_newVlans.begin() + static_cast<std::ptrdiff_t>(count));
  Next(m_newVlans.empty() ? &Applier::PlanRequests : &Applier::Announce);
}

// Rules are those of the protocols that are enabled now that the documents have been applied.
void Applier::PlanRequests() {
  intent::RouteContext context{VlansOfLibrary(), m_interfaces.GetIndexes()};
  const bool isResolved = m_isResolved && context == m_resolvedIn;
  m_resolvedIn = context;
  m_isResolved = true;
  PlanInPool(
      [wanted = m_intent, isResolved, context = std::move(context),
       running = FindRunningProtocols(), routes = m_routes.GetRoutes()](Plan& plan) {
        if (!isResolved) {
          plan.routes = std::make_shared<const RoutePlan>(intent::PlanRoutes(
              routes, std::make_shared<const intent::ResolvedRoutes>(
                          intent::ResolveRoutes(wanted->GetDocuments(), context))));
        }
        plan.rules = std::make_shared<const intent::Rules>(
            intent::PlanRules(wanted->GetProfiles(), running));
      },
      &Applier::End);
}

void Applier::RequestRoutes() {
  const std::size_t count = m_routes.Continue(ROUTES_A_TURN);
  m_requests += count;
  if (count == ROUTES_A_TURN) {
    Next(&Applier::RequestRoutes);
    return;
  }
  if (m_plan.routes) {
    m_leftOvers.push_back(std::move(m_plan.routes));
  }
  m_redistribution.Begin(std::move(m_plan.rules));
  Next(&Applier::RequestRules);
}

void Applier::RequestRules() {
  m_requests += m_redistribution.Continue(DESTINATIONS_A_TURN);
  Next(m_redistribution.IsDone() ? m_afterRequests : &Applier::RequestRules);
}

void Applier::End() {
  m_disposal.Free(std::exchange(m_leftOvers, {}));
  if (!std::exchange(m_isRestoring, false)) {
    m_isApplying = false;
    std::exchange(m_done, nullptr)();
  } else if (m_next) {
    Begin();
  } else if (m_isApplying) {
    Next(&Applier::ApplyInterfaces);
  }
}

// What the library had queued was for the stack that is gone. A VLAN's record of readiness is as well,
// and would let requests through before the new stack knows the VLAN; so no VLAN outlives this.
void Applier::BringBack() {
  m_comparing.Drop();
  m_answers.Stop();
  m_isRestoring = true;
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  manager->GetSerializer().Reset();
  manager->GetCfgSched().Reset();
  m_hooks.library([this] { m_documents.Withdraw(); });
  for (const unsigned short vlan : VlansOfLibrary()) {
    Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(vlan);
  }
  m_plan = {};
  m_leftOvers.push_back(m_routes.GetRoutes());
  m_routes.Forget();
  m_isResolved = false;
  m_redistribution.Forget();
  m_knownVlans.clear();
  // The new stack may ask before what is being applied has come to the interfaces.
  m_interfaces.ApplyPrimaries(m_intent->GetDevice(), m_intent->GetNamedVlans());
  m_documents.Begin(m_intent->GetDocuments());
  Next(&Applier::LoadDocument);
}

}  // namespace apply
