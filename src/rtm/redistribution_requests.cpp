// Redistribution rules: the requests and the stack's answers.

#include <new>

#include "requests.h"
#include "src/values/row_codes.h"
#include "tarsel/trace.h"
#include "vantacore/cfg_items.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

constexpr OutcomeTexts REDISTRIBUTION_TEXTS = {"Redistribution Request Success\n",
                                               "Redistribution Request Not success!! Retrying...\n",
                                               "Unable to set redistribution. No retry!!!\n"};

}  // namespace

void DcRtmMgr::Redistribute(unsigned int rowStatus, unsigned int adminStatus, unsigned int source,
                            unsigned int destination, unsigned short vlan) {
  auto* item = new (std::nothrow)
      RouteRedistributeItem(static_cast<int>(rowStatus), static_cast<int>(adminStatus),
                            static_cast<int>(source), static_cast<int>(destination), 0, vlan, 0);
  if (item == nullptr) {
    TRACE(1, "Error in allocating Redistribution Item\n");
    return;
  }
  InsertItem(CfgKey{vlan, ROW_TYPE_REDISTRIBUTION}, item);
}

void DcRtmMgr::HandleRedistributionStatusChange(unsigned short vlan, unsigned int source,
                                                unsigned int destination, bool wasEnabled,
                                                bool isEnabled) {
  if (wasEnabled == isEnabled) {
    return;
  }
  if (isEnabled) {
    Redistribute(ROW_ACTIVE, ADMIN_UP, source, destination, vlan);
  } else {
    Redistribute(ROW_DESTROY, ADMIN_DOWN, source, destination, vlan);
  }
}

void DcRtmMgr::UpdateRedistributionCallback(unsigned short vlan, unsigned int source,
                                            unsigned int destination, unsigned int adminStatus,
                                            unsigned int rowStatus, unsigned int extra,
                                            unsigned int status) {
  TRACE(10, "Redistribution Response from Metaswitch: vlan=%u src=%u dst=%u status=%u\n", vlan,
        source, destination, rowStatus);
  RouteRedistributeItem probe(static_cast<int>(rowStatus), static_cast<int>(adminStatus),
                              static_cast<int>(source), static_cast<int>(destination), 0, vlan,
                              extra);
  HandleAnswer(CfgKey{vlan, ROW_TYPE_REDISTRIBUTION}, probe, static_cast<int>(rowStatus), status,
               REDISTRIBUTION_TEXTS);
}

}  // namespace Tarsel
