#include "redistribution_feeder.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

void RedistributionFeeder::Begin(SharedRules wanted) {
  m_wanted = std::move(wanted);
  m_concerned.assign(m_waiting.begin(), m_waiting.end());
  for (const intent::Rules* rules : {static_cast<const intent::Rules*>(&m_asked), m_wanted.get()}) {
    for (const auto& rule : *rules) {
      m_concerned.push_back(rule.first);
    }
  }
  std::sort(m_concerned.begin(), m_concerned.end());
  m_concerned.erase(std::unique(m_concerned.begin(), m_concerned.end()), m_concerned.end());
  std::reverse(m_concerned.begin(), m_concerned.end());
}

std::size_t RedistributionFeeder::Continue(std::size_t most) {
  std::size_t count = 0;
  for (; most > 0 && !m_concerned.empty(); --most) {
    count += Look(m_concerned.back());
    m_concerned.pop_back();
  }
  WatchOrRest();
  return count;
}

void RedistributionFeeder::Forget() {
  m_asked.clear();
  m_concerned.clear();
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
  const intent::RuleChange change = intent::PlanRule(m_asked, *m_wanted, destination);
  if (!router->IsReady()) {
    const bool isConcerned = m_asked.count(destination) + m_wanted->count(destination) != 0;
    if (router->IsEnabled() && isConcerned) {
      m_waiting.insert(destination);
    }
    SetAsked(destination, change.withdraw);
    return 0;
  }
  const auto wanted = m_wanted->find(destination);
  SetAsked(destination, wanted == m_wanted->end() ? 0 : wanted->second);
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
