#include "route_feeder.h"

#include "route_plan.h"
#include "tarsel/address.h"
#include "vantacore/cfg_items.h"
#include "vantacore/static_routes.h"

namespace host {

using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;

namespace {

constexpr long ADMIN_UP = 1;

void Remove(const RowKey& row) {
  const auto& [target, ifIndex] = row;
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

void Add(const RowKey& row, unsigned int metric) {
  const auto& [target, ifIndex] = row;
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

std::size_t RouteFeeder::Push(const Rows& wanted) {
  const RoutePlan plan = PlanRoutes(m_rows, wanted);
  for (const RowKey& row : plan.remove) {
    Remove(row);
  }
  for (const auto& [row, metric] : plan.add) {
    Add(row, metric);
  }
  m_rows = wanted;
  return plan.remove.size() + plan.add.size();
}

std::size_t RouteFeeder::RemoveVlans(const std::set<unsigned short>& vlans) {
  if (vlans.empty()) {
    return 0;
  }
  Rows rest;
  for (const auto& row : m_rows) {
    if (vlans.count(row.first.first.vlan) == 0) {
      rest.insert(rest.end(), row);
    }
  }
  return Push(rest);
}

}  // namespace host
