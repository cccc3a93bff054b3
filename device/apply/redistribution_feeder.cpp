#include "redistribution_feeder.h"

#include <iterator>

#include "vantacore/cfg_sched.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"

namespace apply {

using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;

namespace {

// Asks for each of `sources` to be handed on, or no longer. Returns how many requests that took.
std::size_t Ask(const intent::Destination& destination, intent::Sources sources, bool isWanted) {
  const int family = destination.ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4;
  const unsigned short instance =
      DcRtmMgr::GetDclProtocolInstanceIdFromVlan(destination.vlan, family);
  std::size_t count = 0;
  for (unsigned int i = 0; i < std::size(intent::SOURCE_CODES); ++i) {
    if (sources & 1u << i) {
      DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(
          instance, intent::SOURCE_CODES[i], destination.code, !isWanted, isWanted);
      ++count;
    }
  }
  return count;
}

}  // namespace

RedistributionFeeder::RedistributionFeeder() : m_timer("Redistribution") {
  m_timer.SetCallback(new Tarsel::MemberCallback2<RedistributionFeeder, unsigned int, void*>(
      this, &RedistributionFeeder::LookAgain));
}

std::size_t RedistributionFeeder::Push(const intent::Rules& wanted) {
  std::set<intent::Destination> concerned = m_waiting;
  for (const intent::Rules* rules : {static_cast<const intent::Rules*>(&m_asked), &wanted}) {
    for (const auto& rule : *rules) {
      concerned.insert(rule.first);
    }
  }
  m_wanted = wanted;
  std::size_t count = 0;
  for (const intent::Destination& destination : concerned) {
    count += Look(destination);
  }
  WatchOrRest();
  return count;
}

std::size_t RedistributionFeeder::Withdraw(const intent::Rules& wanted) {
  return Push(intent::FindStayingRules(m_wanted, wanted));
}

// Of a VLAN that has gone there is nothing left to withdraw. A protocol that is disabled cannot be
// asked for anything; what it still has is withdrawn when it is enabled again. One that is enabled
// and not ready may have lost what it was asked for, so all that it is to have is asked for again.
std::size_t RedistributionFeeder::Look(const intent::Destination& destination) {
  const Tarsel::DcRouterBase* router = DcRouterMgr::GetInstance()->GetDcRouterByVID(
      destination.vlan, intent::RouterTypeOf(destination));
  m_waiting.erase(destination);
  if (!router) {
    m_asked.erase(destination);
    return 0;
  }
  const intent::RuleChange change = intent::PlanRule(m_asked, m_wanted, destination);
  if (!router->IsReady()) {
    const bool isConcerned = m_asked.count(destination) + m_wanted.count(destination) != 0;
    if (router->IsEnabled() && isConcerned) {
      m_waiting.insert(destination);
    }
    SetAsked(destination, change.withdraw);
    return 0;
  }
  const auto wanted = m_wanted.find(destination);
  SetAsked(destination, wanted == m_wanted.end() ? 0 : wanted->second);
  return Ask(destination, change.withdraw, false) + Ask(destination, change.add, true);
}

void RedistributionFeeder::SetAsked(const intent::Destination& destination,
                                    intent::Sources sources) {
  if (sources != 0) {
    m_asked[destination] = sources;
  } else {
    m_asked.erase(destination);
  }
}

void RedistributionFeeder::LookAgain(unsigned int, void*) {
  const std::set<intent::Destination> waiting = m_waiting;
  for (const intent::Destination& destination : waiting) {
    Look(destination);
  }
  WatchOrRest();
}

void RedistributionFeeder::WatchOrRest() {
  if (m_waiting.empty()) {
    m_timer.Stop();
  } else if (!m_timer.IsRunning()) {
    m_timer.Start(Tarsel::CfgSched::TICKS_BETWEEN_PASSES);
  }
}

}  // namespace apply
