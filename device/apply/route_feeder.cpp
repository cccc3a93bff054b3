#include "route_feeder.h"

#include <utility>

#include "tarsel/address.h"
#include "vantacore/cfg_items.h"
#include "vantacore/static_routes.h"

namespace apply {

using intent::ResolvedRoute;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;

namespace {

constexpr long ADMIN_UP = 1;

void Remove(const ResolvedRoute& route) {
  const documents::RouteTarget& target = route.target;
  if (target.ip6) {
    const Ip6Addr address = Ip6Addr::FromBytes(target.destination.data());
    Tarsel::RemoveRoute(target.vlan, address, Ip6Prefix(address, target.length),
                        Ip6Addr::FromBytes(target.gateway.data()), route.ifIndex);
  } else {
    Tarsel::RemoveRoute(target.vlan, Ip4Addr::FromBytes(target.destination.data()),
                        Ip4Addr(Ip6Prefix::s_masks32[target.length]),
                        Ip4Addr::FromBytes(target.gateway.data()), route.ifIndex);
  }
}

void Add(const ResolvedRoute& route) {
  const documents::RouteTarget& target = route.target;
  if (target.ip6) {
    const Ip6Addr address = Ip6Addr::FromBytes(target.destination.data());
    Tarsel::AddRoute(target.vlan, address, Ip6Prefix(address, target.length),
                     Ip6Addr::FromBytes(target.gateway.data()), route.ifIndex, route.metric,
                     Tarsel::PATH_TYPE_STATIC, ADMIN_UP);
  } else {
    Tarsel::AddRoute(target.vlan, Ip4Addr::FromBytes(target.destination.data()),
                     Ip4Addr(Ip6Prefix::s_masks32[target.length]),
                     Ip4Addr::FromBytes(target.gateway.data()), route.ifIndex, route.metric,
                     Tarsel::PATH_TYPE_STATIC, ADMIN_UP);
  }
}

}  // namespace

void RouteFeeder::Begin(std::shared_ptr<const intent::RoutePlan> plan) {
  m_plan = std::move(plan);
  m_removed = m_added = 0;
}

std::size_t RouteFeeder::Continue(std::size_t most) {
  std::size_t count = 0;
  for (; m_plan && count < most && m_removed < m_plan->remove.size(); ++count) {
    Remove(*m_plan->remove[m_removed++]);
  }
  for (; m_plan && count < most && m_added < m_plan->add.size(); ++count) {
    Add(*m_plan->add[m_added++]);
  }
  if (m_plan && count < most) {
    m_routes = m_plan->wanted;
    m_plan = nullptr;
  }
  return count;
}

void RouteFeeder::Forget() {
  m_plan = nullptr;
  m_routes = std::make_shared<const intent::ResolvedRoutes>();
}

}  // namespace apply
