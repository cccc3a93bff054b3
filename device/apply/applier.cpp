#include "applier.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "device/intent/vlan_forecast.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace apply {

using Tarsel::DcRouterMgr;

namespace {

// How often it is looked whether a VLAN that is kept may go.
constexpr unsigned int LOOK_MILLISECONDS = 20;

// How often, and how many times at most, it is looked whether the rules of protocols that stop have
// been withdrawn: as long as a second. A stack that takes nothing does not hold a reload up.
constexpr unsigned int RULES_MILLISECONDS = 10;
constexpr unsigned int MOST_LOOKS_AT_RULES = 100;

}  // namespace

Applier::Applier(uv_loop_s* loop, keepers::Interfaces& interfaces, keepers::Knowledge& knowledge,
                 loop::Disposal& disposal, Hooks hooks)
    : m_interfaces(interfaces),
      m_knowledge(knowledge),
      m_disposal(disposal),
      m_hooks(std::move(hooks)),
      m_turn(loop),
      m_comparing(loop),
      m_intent(std::make_shared<const intent::Intent>()),
      m_looking("Leaving VLANs"),
      m_rulesLeave("Leaving rules") {
  m_looking.SetCallback(
      new Tarsel::MemberCallback2<Applier, unsigned int, void*>(this, &Applier::LookAtKept));
  m_rulesLeave.SetCallback(
      new Tarsel::MemberCallback2<Applier, unsigned int, void*>(this, &Applier::LookAtRules));
}

void Applier::Apply(std::shared_ptr<const intent::Intent> wanted, bool isSame,
                    std::function<void()> done) {
  m_next = std::move(wanted);
  m_isNextSame = isSame;
  m_done = std::move(done);
  m_isApplying = true;
  if (!m_isRestoring && !m_isFollowingUp) {
    Begin();
  }
}

void Applier::Begin() {
  if (!m_isNextSame) {
    m_isResolved = false;
    m_hasChanged = true;
    m_leftOvers.push_back(m_intent);
  }
  m_intent = std::move(m_next);
  m_areInterfacesApplied = false;
  Next(&Applier::PlanRemovals);
}

void Applier::Next(Stage stage) {
  m_turn.Post([this, stage] { m_hooks.stage([this, stage] { (this->*stage)(); }); });
}

// What compares has no other problem than a lack of memory, which ends the process.
void Applier::PlanInPool(std::shared_ptr<routes::RouteKeeper::Plan> routes,
                         std::function<void(Plan&)> work, Stage then) {
  const auto plan = std::make_shared<Plan>();
  plan->routes = std::move(routes);
  m_comparing.Start([plan, work = std::move(work)]() noexcept { work(*plan); },
                    [this, plan, then](const std::optional<std::string>&) {
                      CarryOut(*plan);
                      Next(then);
                    });
}

void Applier::CarryOut(Plan& plan) {
  routes::RouteKeeper& routes = m_knowledge.GetRoutes();
  if (plan.routes) {
    routes.CarryOut(*plan.routes);
    m_leftOvers.push_back(std::move(plan.routes));
  }
  m_knowledge.GetRules().SetWanted(std::move(plan.rules));
  m_leaving = std::move(plan.leaving);
}

// Which protocols will be enabled is a forecast: routers may refuse what documents say.
void Applier::PlanRemovals() {
  PlanInPool(
      nullptr,
      [wanted = m_intent, present = VlansOfLibrary(),
       rules = m_knowledge.GetRules().GetWanted()](Plan& plan) {
        const documents::ConfigFiles& documents = wanted->GetDocuments();
        plan.leaving = intent::FindLeavingVlans(present, documents);
        plan.rules = std::make_shared<const intent::Rules>(intent::FindStayingRules(
            *rules,
            intent::PlanRules(wanted->GetProfiles(), intent::FindEnabledProtocols(documents))));
      },
      &Applier::ApplyInterfaces);
}

// A VLAN that is kept and wanted again goes first: it has lost its settings.
void Applier::ApplyInterfaces() {
  m_interfaces.Apply(m_intent->GetDevice(), m_intent->GetNamedVlans());
  m_areInterfacesApplied = true;
  documents::VlanIds kept = FindUnfinished(m_leaving);
  for (const unsigned short vlan : m_leaving) {
    if (m_knowledge.GetRoutes().MayHaveRoutes(vlan)) {
      kept.insert(vlan);
    }
  }
  BeginDocuments(kept);
}

void Applier::BeginDocuments(const documents::VlanIds& kept) {
  m_knownVlans = VlansOfLibrary();
  m_hooks.library([&] { m_documents.Keep(kept); });
  m_knowledge.SetLeavingVlans(kept);
  ForgetGoneVlans();
  Next(&Applier::PlanLoads);
}

// If the library has exactly these documents, as they were read then, there is nothing to do.
void Applier::PlanLoads() {
  if (m_documents.GetApplied() == m_intent->GetDocuments()) {
    m_documents.Begin(nullptr, m_intent->GetDocuments());
    Next(&Applier::LoadDocument);
    return;
  }
  const auto plan = std::make_shared<intent::DocumentPlan>();
  m_comparing.Start(
      [plan, applied = m_documents.GetApplied(), wanted = m_intent]() noexcept {
        *plan = intent::PlanDocuments(applied, wanted->GetDocuments());
      },
      [this, plan](const std::optional<std::string>&) {
        m_stopping = plan->stopping;
        m_looksAtRules = 0;
        m_leftOvers.push_back(plan);
        m_documents.Begin(plan, m_intent->GetDocuments());
        Next(&Applier::AwaitRules);
      });
}

// A protocol stops after the stack has been told that it hands nothing to it any more.
void Applier::AwaitRules() {
  if (m_knowledge.GetRules().IsToWithdraw(m_stopping) && ++m_looksAtRules <= MOST_LOOKS_AT_RULES) {
    m_rulesLeave.Start(RULES_MILLISECONDS);
  } else {
    Next(&Applier::LoadDocument);
  }
}

void Applier::LookAtRules(unsigned int, void*) { Next(&Applier::AwaitRules); }

// Those that the library had when it was looked last. One that comes back is a new one.
void Applier::ForgetGoneVlans() {
  documents::VlanIds vlans = VlansOfLibrary();
  for (const unsigned short vlan : m_knownVlans) {
    if (vlans.count(vlan) == 0) {
      m_knowledge.GetRoutes().ForgetVlan(vlan, true);
      m_knowledge.GetRules().ForgetVlan(vlan);
    }
  }
  m_knownVlans = std::move(vlans);
}

void Applier::LoadDocument() {
  bool isMore = false;
  m_hooks.library([&] { isMore = m_documents.Continue(); });
  if (isMore) {
    Next(&Applier::LoadDocument);
    return;
  }
  const documents::VlanIds before = m_knownVlans;
  ForgetGoneVlans();
  m_newVlans.clear();
  std::set_difference(m_knownVlans.begin(), m_knownVlans.end(), before.begin(), before.end(),
                      std::back_inserter(m_newVlans));
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

// Rules are those of the protocols that are enabled now that the documents have been applied. A
// VLAN that is only kept is not there for routes.
void Applier::PlanRequests() {
  intent::RouteContext context{VlansOfLibrary(), m_interfaces.GetIndexes()};
  for (const unsigned short vlan : m_documents.GetKept()) {
    context.vlans.erase(vlan);
  }
  const bool isResolved = m_isResolved && context == m_resolvedIn;
  m_hasChanged |= !isResolved;
  m_resolvedIn = context;
  m_isResolved = true;
  const bool isNew = m_isApplying && !m_isRestoring && !m_isFollowingUp;
  if (isResolved && isNew) {
    m_knowledge.GetRoutes().EndKept();
  }
  PlanInPool(
      isResolved ? nullptr : m_knowledge.GetRoutes().BeginPlan(isNew),
      [wanted = m_intent, context = std::move(context),
       running = FindRunningProtocols()](Plan& plan) {
        if (plan.routes) {
          const auto unresolved = std::make_shared<intent::UnresolvedRoutes>();
          auto resolved = std::make_shared<const intent::ResolvedRoutes>(
              intent::ResolveRoutes(wanted->GetDocuments(), context, unresolved.get()));
          routes::RouteKeeper::MakePlan(*plan.routes, std::move(resolved), unresolved);
        }
        plan.rules = std::make_shared<const intent::Rules>(
            intent::PlanRules(wanted->GetProfiles(), running));
      },
      &Applier::End);
}

void Applier::End() {
  m_disposal.Free(std::exchange(m_leftOvers, {}));
  if (!m_documents.GetKept().empty()) {
    m_looking.Start(LOOK_MILLISECONDS);
  }
  const bool wasRestoring = std::exchange(m_isRestoring, false);
  m_isFollowingUp = false;
  if (m_next) {
    Begin();
    return;
  }
  // Once they have been applied, what happens to them counts.
  if (wasRestoring && m_isApplying && !m_areInterfacesApplied) {
    Next(&Applier::ApplyInterfaces);
    return;
  }
  if (std::exchange(m_isToResolve, false) && m_isResolved &&
      m_resolvedIn.interfaces != m_interfaces.GetIndexes()) {
    m_isFollowingUp = true;
    Next(&Applier::PlanRequests);
    return;
  }
  if (std::exchange(m_hasChanged, false)) {
    m_knowledge.CompareWhenSettled();
  }
  if (std::exchange(m_isApplying, false)) {
    std::exchange(m_done, nullptr)();
  }
}

// Before routes were resolved once, and before the library has been told of anything, this is
// nothing new.
void Applier::ResolveAgain() {
  if (IsBusy()) {
    m_isToResolve = true;
  } else if (m_isResolved) {
    m_isFollowingUp = true;
    Next(&Applier::PlanRequests);
  }
}

documents::VlanIds Applier::FindUnfinished(const documents::VlanIds& leaving) const {
  documents::VlanIds unfinished;
  for (const unsigned short vlan : leaving) {
    if (m_knowledge.GetRoutes().HasLeavingRoutes(vlan) ||
        m_knowledge.GetRules().HasLeavingRules(vlan)) {
      unfinished.insert(vlan);
    }
  }
  return unfinished;
}

// While a configuration is being applied its stages decide.
void Applier::LookAtKept(unsigned int, void*) {
  if (IsBusy() || FindUnfinished(m_documents.GetKept()) == m_documents.GetKept()) {
    m_looking.Start(LOOK_MILLISECONDS);
    return;
  }
  m_isFollowingUp = true;
  m_hasChanged = true;
  Next(&Applier::LetGo);
}

// The second half of a configuration's stages: interfaces stay as they are.
void Applier::LetGo() { BeginDocuments(FindUnfinished(m_documents.GetKept())); }

// What the library had queued was for the stack that is gone. A VLAN's record of readiness is as
// well, and would let requests through before the new stack knows the VLAN; so no VLAN outlives
// this.
void Applier::BringBack() {
  m_comparing.Drop();
  m_looking.Stop();
  m_rulesLeave.Stop();
  m_isRestoring = true;
  m_isFollowingUp = false;
  m_hasChanged = true;
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  m_knowledge.Forget();
  manager->GetSerializer().Reset();
  manager->GetCfgSched().Reset();
  m_hooks.library([this] { m_documents.Withdraw(); });
  m_knowledge.SetLeavingVlans({});
  for (const unsigned short vlan : VlansOfLibrary()) {
    Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(vlan);
  }
  m_isResolved = false;
  m_leaving.clear();
  m_knownVlans.clear();
  // The new stack may ask before what is being applied has come to the interfaces.
  m_interfaces.ApplyPrimaries(m_intent->GetDevice(), m_intent->GetNamedVlans());
  Next(&Applier::PlanLoads);
}

}  // namespace apply
