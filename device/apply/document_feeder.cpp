#include "document_feeder.h"

#include <utility>
#include <variant>

#include "device/documents/router_members.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"

namespace apply {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;

namespace {

// The name of the document that keeps VLANs: none of a folder's has it.
constexpr const char* KEPT_VLANS = "(leaving VLANs)";

unsigned int ProtocolsOf(const DcRouterMgr::VlanRouters& record) {
  unsigned int protocols = 0;
  for (const auto& [type, router] : record.routers) {
    protocols |= router && router->IsEnabled() ? documents::BitOf(type) : 0;
  }
  return protocols;
}

}  // namespace

void DocumentFeeder::Begin(std::shared_ptr<const intent::DocumentPlan> plan,
                           const documents::ConfigFiles& wanted) {
  m_plan = std::move(plan);
  m_next = 0;
  m_wanted = wanted;
  m_applied.clear();
}

bool DocumentFeeder::Continue() {
  if (!m_plan || m_next == m_plan->steps.size()) {
    m_plan.reset();
    m_next = 0;
    m_applied = std::exchange(m_wanted, {});
    return false;
  }
  const std::vector<intent::DocumentStep>& steps = m_plan->steps;
  const auto isMember = [&] {
    return std::holds_alternative<intent::EmptiedMember>(steps[m_next]);
  };
  const std::size_t most = isMember() ? MEMBERS_A_TURN : 1;
  for (std::size_t count = 0; count < most && m_next < steps.size(); ++count) {
    if (count != 0 && !isMember()) {
      break;
    }
    std::visit([this](const auto& step) { CarryOut(step); }, steps[m_next++]);
  }
  return true;
}

// Not a whole document, since the library would compare all others of its rows again.
void DocumentFeeder::CarryOut(const intent::EmptiedMember& member) {
  if (Tarsel::DcRouterBase* const router =
          DcRouterMgr::GetInstance()->GetDcRouterByVID(member.vlan, member.router)) {
    router->Reload(member.entry->GetRootNode(), member.document.c_str(), member.type);
  }
}

void DocumentFeeder::CarryOut(const intent::DocumentLoad& load) {
  m_names[load.file->name] = load.file->type;
  DcRouterMgr::GetInstance()->Reload(load.cut ? *load.cut : load.file->document,
                                     load.file->name.c_str(), load.file->type);
}

void DocumentFeeder::CarryOut(const intent::DocumentWithdrawal& withdrawal) {
  m_names.erase(withdrawal.name);
  DcRouterMgr::GetInstance()->DeleteOptions(withdrawal.name.c_str(), withdrawal.type);
}

// A remote document cannot create a VLAN, and an entry without members configures nothing.
void DocumentFeeder::Keep(const documents::VlanIds& vlans) {
  if (vlans == m_kept) {
    return;
  }
  Json::Value entries(Json::objectValue);
  for (const unsigned short vlan : vlans) {
    entries[std::to_string(vlan)]["vid"] = vlan;
  }
  Json::Value root;
  root["VLAN_CONFIGURATIONS"] = std::move(entries);
  DcRouterMgr::GetInstance()->Reload(Tarsel::Options(std::move(root)), KEPT_VLANS,
                                     DclConfigObject::REMOTE_OPTIONS);
  m_kept = vlans;
}

// Whoever else holds the documents decides where they are freed.
void DocumentFeeder::Withdraw() {
  Keep({});
  m_plan.reset();
  m_next = 0;
  m_applied.clear();
  m_wanted.clear();
  for (const auto& [name, type] : std::exchange(m_names, {})) {
    DcRouterMgr::GetInstance()->DeleteOptions(name.c_str(), type);
  }
}

documents::VlanIds VlansOfLibrary() {
  documents::VlanIds vlans;
  for (const auto& vlan : DcRouterMgr::GetInstance()->GetVlans()) {
    vlans.insert(vlans.end(), vlan.first);
  }
  return vlans;
}

documents::ProtocolSets FindRunningProtocols() {
  documents::ProtocolSets protocols;
  for (const auto& [vlan, record] : DcRouterMgr::GetInstance()->GetVlans()) {
    protocols.emplace_hint(protocols.end(), vlan, ProtocolsOf(*record));
  }
  return protocols;
}

}  // namespace apply
