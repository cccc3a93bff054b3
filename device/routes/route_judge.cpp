#include "route_judge.h"

#include <optional>

#include "vantacore/dc_rtm_mgr.h"

namespace routes {

using Place = RouteBook::Place;

bool IsInstanceReady(unsigned short vlan, bool ip6) {
  using Tarsel::DcRtmMgr;
  return DcRtmMgr::GetInstance()->IsRtmReady(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      vlan, ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4));
}

bool RouteJudge::IsLost(const RouteState& state) const {
  return state.kind == RouteState::UNDER_WAY && m_requests.IsLost(m_requests.Get(state.value));
}

rows::Standing RouteJudge::Judge(const Place& place, const rows::RouteRow& row,
                                 const rows::StackRoute* found) const {
  const bool isKnown = place.where != Place::NOWHERE;
  const RouteState state =
      isKnown ? m_book.StateOf(place, row) : RouteState{RouteState::SETTLED, 0};
  if (state.IsToAsk() || state.kind == RouteState::AWAITING) {
    return {rows::Standing::Kind::UNDER_WAY, m_planned, 0};
  }
  if (state.kind == RouteState::UNDER_WAY && !IsLost(state)) {
    return {rows::Standing::Kind::UNDER_WAY, m_requests.Get(state.value).since, 0};
  }
  if (state.kind == RouteState::KEPT) {
    return {};
  }
  const unsigned int status = state.kind == RouteState::REFUSED ? state.value : 0;
  const bool isWanted = place.where == Place::WANTED;
  if (!m_port.KnowsTables()) {
    const auto kind = isWanted ? rows::Standing::Kind::MISSING : rows::Standing::Kind::UNWANTED;
    return state.kind == RouteState::REFUSED ? rows::Standing{kind, 0, status} : rows::Standing{};
  }
  if (found == nullptr) {
    return isWanted ? rows::Standing{rows::Standing::Kind::MISSING, 0, status} : rows::Standing{};
  }
  if (!isWanted) {  // one of an instance that is to go, or to be made anew, goes with it
    return IsInstanceReady(row.target.vlan, row.target.ip6)
               ? rows::Standing{rows::Standing::Kind::UNWANTED, 0, status}
               : rows::Standing{};
  }
  const bool isEqual =
      found->isUp && found->route.metric == m_book.GetWanted().At(place.position).metric;
  return isEqual ? rows::Standing{} : rows::Standing{rows::Standing::Kind::OTHER, 0, status};
}

rows::Standing RouteJudge::Look(const rows::RouteRow& row) const {
  const Place place = m_book.Find(row);
  const std::optional<rows::StackRoute> found = m_port.FindRoute(row);
  return Judge(place, row, found ? &*found : nullptr);
}

}  // namespace routes
