#include "document_feeder.h"

#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"

namespace apply {

using Tarsel::DcRouterMgr;

void DocumentFeeder::Push(const documents::ConfigFiles& wanted) {
  const intent::DocumentPlan plan = intent::PlanDocuments(m_applied, wanted);
  m_applied.clear();
  for (const auto& file : plan.reload) {
    DcRouterMgr::GetInstance()->Reload(file->document, file->name.c_str(), file->type);
    m_applied[file->name] = file->type;
  }
  for (const auto& [name, type] : plan.withdraw) {
    DcRouterMgr::GetInstance()->DeleteOptions(name.c_str(), type);
  }
}

intent::PresentVlans FindPresentVlans() {
  intent::PresentVlans vlans;
  for (const auto& [vlan, record] : DcRouterMgr::GetInstance()->GetVlans()) {
    intent::PresentVlan& present = vlans[vlan];
    for (const Tarsel::string& name : record->configFiles) {
      present.documents.insert(name.c_str());
    }
    for (const auto& [type, router] : record->routers) {
      present.protocols |= router && router->IsEnabled() ? 1u << type : 0;
    }
  }
  return vlans;
}

}  // namespace apply
