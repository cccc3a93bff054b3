#include "route_feeder.h"

#include "tarsel/address.h"
#include "vantacore/cfg_items.h"
#include "vantacore/static_routes.h"

namespace apply {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;

namespace {

constexpr long ADMIN_UP = 1;

void Remove(const ResolvedRoute& route) {
  const auto& [target, ifIndex] = route;
  if (target.ip6) {
    const Ip6Addr address = Ip6Addr::FromBytes(target.destination.data());
    Tarsel::RemoveRoute(target.vlan, address, Ip6Prefix(address, target.length),
                        Ip6Addr::FromBytes(target.gateway.data()), ifIndex);
  } else {
    Tarsel::RemoveRoute(target.vlan, Ip4Addr::FromBytes(target.destination.data()),
                        Ip4Addr(Ip6Prefix::s_masks32[target.length]),
                        Ip4Addr::FromBytes(target.gateway.data()), ifIndex);
  }
}

void Add(const ResolvedRoute& route, unsigned int metric) {
  const auto& [target, ifIndex] = route;
  if (target.ip6) {
    const Ip6Addr address = Ip6Addr::FromBytes(target.destination.data());
    Tarsel::AddRoute(target.vlan, address, Ip6Prefix(address, target.length),
                     Ip6Addr::FromBytes(target.gateway.data()), ifIndex, metric,
                     Tarsel::PATH_TYPE_STATIC, ADMIN_UP);
  } else {
    Tarsel::AddRoute(target.vlan, Ip4Addr::FromBytes(target.destination.data()),
                     Ip4Addr(Ip6Prefix::s_masks32[target.length]),
                     Ip4Addr::FromBytes(target.gateway.data()), ifIndex, metric,
                     Tarsel::PATH_TYPE_STATIC, ADMIN_UP);
  }
}

}  // namespace

std::size_t RouteFeeder::Push(const ResolvedRoutes& wanted) {
  const intent::RoutePlan plan = intent::PlanRoutes(m_routes, wanted);
  for (const ResolvedRoute& route : plan.remove) {
    Remove(route);
  }
  for (const auto& [route, metric] : plan.add) {
    Add(route, metric);
  }
  m_routes = wanted;
  return plan.remove.size() + plan.add.size();
}

std::size_t RouteFeeder::RemoveVlans(const std::set<unsigned short>& vlans) {
  if (vlans.empty()) {
    return 0;
  }
  ResolvedRoutes rest;
  for (const auto& route : m_routes) {
    if (vlans.count(route.first.target.vlan) == 0) {
      rest.insert(rest.end(), route);
    }
  }
  return Push(rest);
}

}  // namespace apply
