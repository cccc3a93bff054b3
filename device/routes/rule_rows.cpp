#include "rule_rows.h"

#include <algorithm>

#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace routes {

using intent::Destination;
using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;

namespace {

const Tarsel::DcRouterBase* RouterOf(const Destination& destination) {
  return DcRouterMgr::GetInstance()->GetDcRouterByVID(destination.vlan,
                                                      intent::RouterTypeOf(destination));
}

}  // namespace

intent::Sources BitOf(std::uint32_t source) {
  const auto* const found =
      std::find(std::begin(intent::SOURCE_CODES), std::end(intent::SOURCE_CODES), source);
  return found == std::end(intent::SOURCE_CODES) ? 0 : 1u << (found - intent::SOURCE_CODES);
}

intent::Sources SourcesOf(const intent::Rules& rules, const Destination& destination) {
  const auto found = rules.find(destination);
  return found == rules.end() ? 0 : found->second;
}

bool CanTakeRules(const Destination& destination) {
  const Tarsel::DcRouterBase* const router = RouterOf(destination);
  return router && router->IsReady();
}

bool IsStillWaiting(const Destination& destination) {
  const Tarsel::DcRouterBase* const router = RouterOf(destination);
  return router && router->IsEnabled() && !router->IsReady();
}

bool HasInstance(const Destination& destination) {
  return DcRtmMgr::GetInstance()->HasRtmRecord(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      destination.vlan, destination.ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4));
}

}  // namespace routes
