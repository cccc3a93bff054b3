// The tables in slices, and single rows.

#include "engine.h"

namespace routing_stack {

namespace {

InstanceEntry ToEntry(std::uint32_t id, const Instance& instance) {
  const Distances& distances = instance.rib.GetDistances();
  InstanceEntry entry;
  entry.instance = id;
  entry.addressType = instance.family == Family::kIp4 ? 1 : 2;
  entry.routerId = instance.routerId;
  entry.ospfInternal = distances.ospfInternal;
  entry.ospfExternal = distances.ospfExternal;
  entry.bgpExternal = distances.externalBgp;
  entry.bgpInternal = distances.internalBgp;
  entry.rip = distances.rip;
  return entry;
}

StaticRoute ToStaticRoute(std::uint32_t id, Family family, const RibEntry& entry) {
  StaticRoute route;
  route.instance = id;
  route.addressType = family == Family::kIp4 ? 1 : 2;
  entry.destination.ToBytes(route.destination);
  route.prefixLength = entry.length;
  entry.GetNextHop().ToBytes(route.nextHop);
  route.ifIndex = entry.ifIndex;
  route.metric = entry.metric;
  route.isUp = entry.adminUp;
  route.isUsable = entry.ranked && entry.via->usable;
  route.isInstalled = entry.installed;
  return route;
}

RedistributionRow ToRule(const RedistributionKey& key, int adminStatus) {
  return {key.instance, key.source, key.destination, adminStatus == 1};
}

AddressKey KeyOf(const amb_stubs_i3_ea& row) {
  const Family family = FamilyOf(static_cast<int>(row.address_type));
  return {{row.instance, row.if_index}, family, Address::FromBytes(row.address, family)};
}

CandidateKey KeyOf(const StaticRoute& route) {
  const Family family = FamilyOf(route.addressType);
  CandidateKey key;
  key.prefix = {Address::FromBytes(route.destination, family),
                static_cast<std::uint8_t>(route.prefixLength)};
  key.proto = kStatic;
  key.ifIndex = route.ifIndex;
  key.nextHop = Address::FromBytes(route.nextHop, family);
  return key;
}

/// The next rows of a table after a key, which is null for the beginning, as `toRow` makes them.
template <typename Table, typename ToRow>
auto SliceOf(const Table& table, const typename Table::key_type* last, std::size_t most,
             ToRow toRow) {
  auto next = last == nullptr ? table.begin() : table.upper_bound(*last);
  std::vector<decltype(toRow(next->first, next->second))> rows;
  for (; next != table.end() && rows.size() < most; ++next) {
    rows.push_back(toRow(next->first, next->second));
  }
  return rows;
}

template <typename Table, typename ToRow>
auto RowOf(const Table& table, const typename Table::key_type& key, ToRow toRow)
    -> std::optional<decltype(toRow(table.begin()->first, table.begin()->second))> {
  const auto found = table.find(key);
  if (found == table.end()) {
    return std::nullopt;
  }
  return toRow(found->first, found->second);
}

}  // namespace

std::vector<InstanceEntry> Facts::InstancesAfter(const InstanceEntry* last,
                                                 std::size_t most) const {
  return SliceOf(m_engine.GetTables().Instances(), last == nullptr ? nullptr : &last->instance,
                 most, ToEntry);
}

std::vector<amb_stubs_i3_ei> Facts::InterfacesAfter(const amb_stubs_i3_ei* last,
                                                    std::size_t most) const {
  const InterfaceKey key =
      last == nullptr ? InterfaceKey{} : InterfaceKey{last->instance, last->if_index};
  return SliceOf(
      m_engine.GetTables().Interfaces(), last == nullptr ? nullptr : &key, most,
      [](const InterfaceKey& place, const InterfaceRow& row) { return ToRow(place, row); });
}

std::vector<amb_stubs_i3_ea> Facts::AddressesAfter(const amb_stubs_i3_ea* last,
                                                   std::size_t most) const {
  const AddressKey key = last == nullptr ? AddressKey{} : KeyOf(*last);
  return SliceOf(m_engine.GetTables().Addresses(), last == nullptr ? nullptr : &key, most,
                 [](const AddressKey& place, const AddressRow& row) { return ToRow(place, row); });
}

std::vector<StaticRoute> Facts::StaticRoutesAfter(const StaticRoute* last, std::size_t most) const {
  const Tables::InstanceTable& instances = m_engine.GetTables().Instances();
  std::vector<StaticRoute> routes;
  auto next = last == nullptr ? instances.begin() : instances.lower_bound(last->instance);
  for (; next != instances.end() && routes.size() < most; ++next) {
    const auto& [id, instance] = *next;
    const bool goesOn = last != nullptr && last->instance == id;
    const CandidateKey key = goesOn ? KeyOf(*last) : CandidateKey{};
    instance.rib.VisitAfter(goesOn ? &key : nullptr,
                            [&, id = id, family = instance.family](const RibEntry& entry) {
                              if (entry.proto == kStatic) {
                                routes.push_back(ToStaticRoute(id, family, entry));
                              }
                              return routes.size() < most;
                            });
  }
  return routes;
}

std::vector<RedistributionRow> Facts::RedistributionsAfter(const RedistributionRow* last,
                                                           std::size_t most) const {
  const RedistributionKey key =
      last == nullptr ? RedistributionKey{}
                      : RedistributionKey{last->vlan, last->source, last->destination};
  return SliceOf(m_engine.GetTables().Redistributions(), last == nullptr ? nullptr : &key, most,
                 ToRule);
}

std::optional<InstanceEntry> Facts::FindInstance(std::uint32_t instance) const {
  return RowOf(m_engine.GetTables().Instances(), instance, ToEntry);
}

std::optional<amb_stubs_i3_ei> Facts::FindInterface(std::uint32_t instance,
                                                    std::uint32_t ifIndex) const {
  return RowOf(m_engine.GetTables().Interfaces(), {instance, ifIndex},
               [](const InterfaceKey& key, const InterfaceRow& row) { return ToRow(key, row); });
}

std::optional<amb_stubs_i3_ea> Facts::FindAddress(const amb_stubs_i3_ea& key) const {
  return RowOf(m_engine.GetTables().Addresses(), KeyOf(key),
               [](const AddressKey& place, const AddressRow& row) { return ToRow(place, row); });
}

std::optional<StaticRoute> Facts::FindStaticRoute(const StaticRoute& key) const {
  const Instance* const instance = m_engine.GetTables().FindInstance(key.instance);
  if (instance == nullptr || instance->family != FamilyOf(key.addressType)) {
    return std::nullopt;
  }
  const RibEntry* const entry = instance->rib.Find(KeyOf(key));
  if (entry == nullptr) {
    return std::nullopt;
  }
  return ToStaticRoute(key.instance, instance->family, *entry);
}

std::optional<RedistributionRow> Facts::FindRedistribution(const RedistributionRow& key) const {
  return RowOf(m_engine.GetTables().Redistributions(), {key.vlan, key.source, key.destination},
               ToRule);
}

}  // namespace routing_stack
