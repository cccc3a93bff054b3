#include "loader.h"

#include <algorithm>
#include <utility>

#include "route_plan.h"
#include "vantacore/dc_router_mgr.h"

namespace host {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;

namespace {

VlanIds ExistingVlans() {
  VlanIds vlans;
  for (const auto& vlan : DcRouterMgr::GetInstance()->GetVlans()) {
    vlans.insert(vlan.first);
  }
  return vlans;
}

}  // namespace

Loader::Loader(ConfigFolder& folder, DeviceState& device, Settle& answers, Report report)
    : m_folder(folder), m_device(device), m_answers(answers), m_report(std::move(report)) {}

void Loader::Reload() {
  if (m_isWaiting) {
    m_isAskedAgain = true;
    return;
  }
  m_folder.Read();
  if (m_feeder.RemoveVlans(FindLeavingVlans()) == 0) {
    Apply();
    return;
  }
  m_isWaiting = true;
  m_answers.Wait(0, [this](bool) {
    m_isWaiting = false;
    Apply();
    if (std::exchange(m_isAskedAgain, false)) {
      Reload();
    }
  });
}

// A VLAN stays when the VLAN document names it, or when a document that keeps it now still does. A
// remote document that names it only from now on may come too late to keep it.
std::set<unsigned short> Loader::FindLeavingVlans() const {
  std::set<unsigned short> leaving;
  for (const auto& [vlan, record] : DcRouterMgr::GetInstance()->GetVlans()) {
    const unsigned short id = vlan;
    const auto& keepers = record->configFiles;
    const bool stays =
        std::any_of(m_folder.GetFiles().begin(), m_folder.GetFiles().end(), [&](const auto& file) {
          return file->vlans.count(id) != 0 && (file->type == DclConfigObject::VLAN_OPTIONS ||
                                                keepers.count(file->name.c_str()) != 0);
        });
    if (!stays) {
      leaving.insert(id);
    }
  }
  return leaving;
}

void Loader::Apply() {
  VlanIds named;
  for (const auto& file : m_folder.GetFiles()) {
    named.insert(file->vlans.begin(), file->vlans.end());
  }
  m_device.Apply(m_folder.GetDevice(), named);
  const VlanIds before = ExistingVlans();
  ApplyDocuments();
  for (const unsigned short vlan : ExistingVlans()) {
    if (before.count(vlan) == 0) {
      m_device.AnnounceTo(vlan);
    }
  }
  ApplyRoutes();
}

void Loader::ApplyDocuments() {
  auto withdrawn = std::move(m_applied);
  m_applied.clear();
  for (const auto& file : m_folder.GetFiles()) {
    DcRouterMgr::GetInstance()->Reload(file->document, file->name.c_str(), file->type);
    m_applied[file->name] = file->type;
    withdrawn.erase(file->name);
  }
  for (const auto& [name, type] : withdrawn) {
    DcRouterMgr::GetInstance()->DeleteOptions(name.c_str(), type);
  }
}

void Loader::ApplyRoutes() {
  const RouteSet routes = m_folder.CollectRoutes();
  const VlanIds vlans = ExistingVlans();
  std::vector<RouteKey> waiting;
  m_feeder.Push(ResolveRoutes(
      routes, [&](unsigned short vlan) { return vlans.count(vlan) != 0; },
      [&](unsigned short vlan, const std::string& name) { return m_device.IndexOf(vlan, name); },
      waiting));
  for (const RouteKey& key : waiting) {
    if (m_waitingRoutes.count(key) == 0) {
      m_report(routes.at(key).origin + ": waits for interface " + Quote(key.second));
    }
  }
  m_waitingRoutes = std::set<RouteKey>(waiting.begin(), waiting.end());
}

}  // namespace host
