#include "asked_rule.h"

#include <utility>

#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace routes {

using Tarsel::CfgItem;
using Tarsel::CfgKey;
using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;

namespace {

unsigned short InstanceOf(const rows::RuleRow& row) {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      row.destination.vlan, row.destination.ip6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4);
}

CfgKey KeyOf(const rows::RuleRow& row) {
  return {InstanceOf(row), Tarsel::ROW_TYPE_REDISTRIBUTION};
}

}  // namespace

AskedRule::AskedRule(ItemListener<RuleRequest>& listener, RuleRequest& request,
                     const rows::StackPort& port)
    : AskedItem(listener, request, port, request.isWithdrawal ? ROW_DESTROY : ROW_ACTIVE,
                request.isWithdrawal ? ADMIN_DOWN : ADMIN_UP, static_cast<int>(request.row.source),
                static_cast<int>(request.row.destination.code), 0,
                static_cast<unsigned int>(InstanceOf(request.row)), 0u),
      m_isWithdrawal(request.isWithdrawal) {}

bool AskedRule::CfgItemReady() { return m_isWithdrawal ? !IsLeft() : AskedItem::CfgItemReady(); }

bool AskedRule::RemoveOnNotReady() const {
  return m_isWithdrawal ? IsLeft() : AskedItem::RemoveOnNotReady();
}

RuleRequests::RuleRequests(const rows::StackPort& port, std::function<void()> wake)
    : m_port(port), m_wake(std::move(wake)) {}

RuleRequests::~RuleRequests() { EndAll(); }

const RuleRequest* RuleRequests::Find(const rows::RuleRow& row) const {
  const auto found = m_all.find(row);
  return found == m_all.end() ? nullptr : &found->second;
}

// The new item takes the place of the row's old one in the scheduler.
void RuleRequests::Send(const rows::RuleRow& row, bool isWithdrawal, bool isRepeat) {
  const auto [place, isNew] = m_all.try_emplace(row);
  RuleRequest& request = place->second;
  if (!isNew) {
    Count(request, false);
    if (request.item) {
      request.item->Leave();
    }
    request = {};
  }
  request.row = row;
  request.isWithdrawal = isWithdrawal;
  request.isRepeat = isRepeat;
  request.since = m_port.Now();
  Count(request, true);
  m_progress += isRepeat ? 0 : 1;
  request.item = new AskedRule(*this, request, m_port);
  DcRouterMgr::GetInstance()->GetCfgSched().Insert(KeyOf(row), request.item);
}

void RuleRequests::End(const rows::RuleRow& row) {
  const auto found = m_all.find(row);
  if (found != m_all.end()) {
    Count(found->second, false);
    Drop(found->second);
    m_all.erase(found);
  }
}

void RuleRequests::EndAll() {
  for (auto& request : m_all) {
    Drop(request.second);
  }
  m_all.clear();
  m_noted.clear();
  m_underWay = m_repeats = m_retried = 0;
}

// An issued item goes as it would with the stack's answer.
void RuleRequests::Drop(RuleRequest& request) {
  AskedRule* const item = std::exchange(request.item, nullptr);
  if (!item) {
    return;
  }
  item->Leave();
  if (item->GetActionState() == CfgItem::ISSUED) {
    DcRouterMgr::GetInstance()->GetCfgSched().Remove(KeyOf(request.row), item, STATUS_SUCCESS);
  }
}

void RuleRequests::GiveUp(const rows::RuleRow& row) {
  RuleRequest& request = m_all.at(row);
  Count(request, false);
  request.isGivenUp = true;
  Count(request, true);
}

std::vector<RuleRequests::Outcome> RuleRequests::TakeOutcomes(std::size_t most) {
  std::vector<Outcome> outcomes;
  for (; most > 0 && !m_noted.empty(); --most) {
    const auto found = m_all.find(m_noted.front());
    m_noted.pop_front();
    if (found == m_all.end() || !found->second.news) {
      continue;  // it has been noted twice, or has ended since
    }
    RuleRequest& request = found->second;
    Outcome outcome{request.row, request.isWithdrawal, Outcome::DONE};
    switch (*std::exchange(request.news, std::nullopt)) {
      case ItemNews::RETRIED:
        Count(request, false);
        request.isRetried = true;
        Count(request, true);
        continue;
      case ItemNews::REFUSED:
        GiveUp(request.row);
        ++m_concluded;
        outcome.kind = Outcome::GIVEN_UP;
        break;
      case ItemNews::DROPPED:
        outcome.kind = Outcome::DROPPED;
        [[fallthrough]];
      case ItemNews::DONE:
        End(outcome.row);
    }
    outcomes.push_back(outcome);
  }
  return outcomes;
}

bool RuleRequests::IsLost(const RuleRequest& request) const {
  return !request.isGivenUp && !request.news && request.item &&
         request.item->GetActionState() == CfgItem::ISSUED && m_port.IsReady() &&
         !m_port.IsUnfinished(request.row);
}

// A reset of the scheduler makes items new without an answer.
void RuleRequests::Hear(RuleRequest& request, ItemNews news, unsigned int status) {
  switch (news) {
    case ItemNews::DONE:
      ++m_concluded;
      request.item = nullptr;
      break;
    case ItemNews::DROPPED:
      request.item = nullptr;
      break;
    case ItemNews::REFUSED:
      request.status = status;
      break;
    case ItemNews::RETRIED:
      if (request.news != ItemNews::REFUSED) {
        return;
      }
  }
  m_progress += request.isRepeat ? 0 : 1;
  if (!std::exchange(request.news, news)) {
    m_noted.push_back(request.row);
    m_wake();
  }
}

void RuleRequests::Count(const RuleRequest& request, bool isMore) {
  if (request.isGivenUp) {
    return;
  }
  const auto add = [isMore](std::size_t& count, bool isCounted) {
    count += isCounted ? isMore ? 1 : static_cast<std::size_t>(-1) : 0;
  };
  add(m_underWay, true);
  add(m_repeats, request.isRepeat);
  add(m_retried, request.isRetried);
}

}  // namespace routes
