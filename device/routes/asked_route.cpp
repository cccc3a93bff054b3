#include "asked_route.h"

#include <utility>

#include "vantacore/dc_router_mgr.h"

namespace routes {

using Tarsel::CfgItem;
using Tarsel::CfgKey;
using Tarsel::DcRouterMgr;
using Tarsel::StaticRouteItem;
using News = RouteRequest::News;

namespace {

int TypeOf(const rows::RouteRow& row) { return row.target.ip6 ? 2 : 1; }
CfgKey KeyOf(const rows::RouteRow& row) { return {row.target.vlan, Tarsel::ROW_TYPE_STATIC_ROUTE}; }

}  // namespace

RouteRequests::RouteRequests(const rows::StackPort& port, std::function<void()> wake)
    : m_port(port), m_wake(std::move(wake)) {}

RouteRequests::~RouteRequests() {
  for (RouteRequest* request : GetAll()) {
    End(*request);
  }
}

RouteRequest& RouteRequests::Begin() {
  if (m_free.empty()) {
    m_free.push_back(static_cast<std::uint32_t>(m_all.size()));
    m_all.emplace_back().number = m_free.back();
  }
  RouteRequest& request = m_all[m_free.back()];
  m_free.pop_back();
  request.isRepeat = request.isRetried = false;
  request.news = News::NONE;
  request.status = 0;
  return request;
}

// The library's removal has neither a metric nor a path type.
void RouteRequests::Send(RouteRequest& request) {
  const rows::RouteRow& row = request.row;
  const bool isRemoval = request.isRemoval;
  const unsigned int metric = isRemoval ? 0 : static_cast<unsigned short>(request.metric);
  request.item = new AskedRoute(*this, request, m_port, static_cast<unsigned int>(row.target.vlan),
                                TypeOf(row), isRemoval ? ROW_DESTROY : ROW_ACTIVE,
                                isRemoval ? ADMIN_DOWN : ADMIN_UP, row.target.destination.data(),
                                static_cast<int>(row.target.length), row.target.gateway.data(),
                                row.ifIndex, metric, isRemoval ? 0 : Tarsel::PATH_TYPE_STATIC, 0u);
  DcRouterMgr::GetInstance()->GetCfgSched().Insert(KeyOf(row), request.item);
}

void RouteRequests::End(RouteRequest& request) {
  if (request.item) {
    request.item->Leave();
    request.item = nullptr;
  }
  request.lane = nullptr;
  request.news = News::NONE;
  m_free.push_back(request.number);
}

void RouteRequests::Drop(RouteRequest& request) {
  const bool isIssued = request.item && request.item->GetActionState() == CfgItem::ISSUED;
  End(request);
  if (isIssued) {
    DropGivenUp(request.row);
  }
}

// As the stack's answer would. It names the row with an item of its own.
void RouteRequests::DropGivenUp(const rows::RouteRow& row) {
  StaticRouteItem probe(row.target.vlan, TypeOf(row), ROW_DESTROY, ADMIN_DOWN,
                        row.target.destination.data(), row.target.length, row.target.gateway.data(),
                        row.ifIndex, 0, 0, 0);
  DcRouterMgr::GetInstance()->GetCfgSched().Remove(KeyOf(row), &probe, STATUS_SUCCESS);
}

bool RouteRequests::IsLost(const RouteRequest& request) const {
  return request.news == News::NONE && request.item &&
         request.item->GetActionState() == CfgItem::ISSUED && m_port.IsReady() &&
         !m_port.IsUnfinished(request.row);
}

std::vector<RouteRequest*> RouteRequests::TakeNews() {
  for (RouteRequest* request : m_noted) {
    request->isNoted = false;
  }
  return std::exchange(m_noted, {});
}

std::vector<RouteRequest*> RouteRequests::GetAll() {
  std::vector<RouteRequest*> all;
  for (RouteRequest& request : m_all) {
    if (request.lane) {
      all.push_back(&request);
    }
  }
  return all;
}

std::vector<const RouteRequest*> RouteRequests::GetAll() const {
  std::vector<const RouteRequest*> all;
  for (const RouteRequest& request : m_all) {
    if (request.lane) {
      all.push_back(&request);
    }
  }
  return all;
}

// A reset of the scheduler makes items new without an answer.
void RouteRequests::Hear(RouteRequest& request, ItemNews news, unsigned int status) {
  switch (news) {
    case ItemNews::DONE:
      request.news = News::DONE;
      request.item = nullptr;
      break;
    case ItemNews::DROPPED:
      request.news = News::DROPPED;
      request.item = nullptr;
      break;
    case ItemNews::REFUSED:
      request.news = News::REFUSED;
      request.status = status;
      break;
    case ItemNews::RETRIED:
      if (request.news != News::REFUSED) {
        return;
      }
      request.news = News::RETRIED;
  }
  if (!request.isNoted) {
    request.isNoted = true;
    m_noted.push_back(&request);
    if (m_noted.size() == 1) {
      m_wake();
    }
  }
}

}  // namespace routes
