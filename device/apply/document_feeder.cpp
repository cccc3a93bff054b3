#include "document_feeder.h"

#include <algorithm>
#include <utility>

#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"

namespace apply {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;

namespace {

// The name of the document that keeps VLANs: none of a folder's has it.
constexpr const char* KEPT_VLANS = "(leaving VLANs)";

bool NamesAny(const documents::ConfigFile& file, const documents::VlanIds& vlans) {
  return std::any_of(vlans.begin(), vlans.end(),
                     [&](unsigned short vlan) { return file.vlans.count(vlan) != 0; });
}

unsigned int ProtocolsOf(const DcRouterMgr::VlanRouters& record) {
  unsigned int protocols = 0;
  for (const auto& [type, router] : record.routers) {
    protocols |= router && router->IsEnabled() ? 1u << type : 0;
  }
  return protocols;
}

}  // namespace

void DocumentFeeder::Begin(const documents::ConfigFiles& wanted) {
  m_loaded = 0;
  if (HasExactly(wanted)) {
    m_plan = {};
    return;
  }
  m_plan = intent::PlanDocuments(m_applied, wanted);
  m_complete.clear();
  m_begun.assign(wanted.begin(), wanted.end());
  documents::ConfigFiles& reload = m_plan.reload;
  const auto end = std::remove_if(reload.begin(), reload.end(), [this](const auto& file) {
    return file->type == DclConfigObject::REMOTE_OPTIONS && NamesAny(*file, m_kept);
  });
  if (end != reload.end()) {
    reload.erase(end, reload.end());
    m_begun.clear();
  }
}

bool DocumentFeeder::HasExactly(const documents::ConfigFiles& wanted) const {
  return !wanted.empty() &&
         std::equal(m_complete.begin(), m_complete.end(), wanted.begin(), wanted.end(),
                    [](const auto& loaded, const auto& file) { return loaded.lock() == file; });
}

bool DocumentFeeder::Continue() {
  if (m_loaded < m_plan.reload.size()) {
    const documents::ConfigFile& file = *m_plan.reload[m_loaded++];
    DcRouterMgr::GetInstance()->Reload(file.document, file.name.c_str(), file.type);
    m_applied[file.name] = file.type;
    return true;
  }
  m_plan.reload.clear();
  m_loaded = 0;
  if (m_plan.withdraw.empty()) {
    if (!m_begun.empty()) {
      m_complete = std::exchange(m_begun, {});
    }
    return false;
  }
  m_applied.erase(m_plan.withdraw.begin()->first);
  WithdrawFirst(m_plan.withdraw);
  return true;
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

void DocumentFeeder::Withdraw() {
  Keep({});
  m_plan = {};
  m_begun.clear();
  m_complete.clear();
  while (!m_applied.empty()) {
    WithdrawFirst(m_applied);
  }
}

void DocumentFeeder::WithdrawFirst(intent::AppliedDocuments& documents) {
  const auto first = documents.begin();
  DcRouterMgr::GetInstance()->DeleteOptions(first->first.c_str(), first->second);
  documents.erase(first);
}

intent::PresentVlans FindPresentVlans() {
  intent::PresentVlans vlans;
  for (const auto& [vlan, record] : DcRouterMgr::GetInstance()->GetVlans()) {
    intent::PresentVlan& present =
        vlans.emplace_hint(vlans.end(), vlan, intent::PresentVlan())->second;
    for (const Tarsel::string& name : record->configFiles) {
      present.documents.insert(name.c_str());
    }
    present.protocols = ProtocolsOf(*record);
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
