#include "stack_rows.h"

#include <algorithm>
#include <iterator>

namespace ports {

using routing_stack::InstanceEntry;
using routing_stack::RedistributionRow;
using routing_stack::RowName;
using routing_stack::RowType;
using routing_stack::StaticRoute;

namespace {

constexpr std::uint32_t IP6_BIT = 0x8000;

unsigned short VlanOf(std::uint32_t instance) {
  return static_cast<unsigned short>(instance & ~IP6_BIT);
}
int AddressTypeOf(bool ip6) { return ip6 ? 2 : 1; }

RowName Name(RowType type, std::uint32_t instance, std::uint32_t ifIndex = 0) {
  RowName name;
  name.type = type;
  name.instance = instance;
  name.ifIndex = ifIndex;
  return name;
}

std::vector<RowName> Names(const rows::InstanceRow& row) {
  return {Name(RowType::kRtm, InstanceOf(row.vlan, row.ip6))};
}

std::vector<RowName> Names(const rows::InterfaceRow& row) {
  return {Name(RowType::kInterface, InstanceOf(row.vlan, false), row.ifIndex),
          Name(RowType::kInterface, InstanceOf(row.vlan, true), row.ifIndex)};
}

std::vector<RowName> Names(const rows::AddressRow& row) {
  RowName name = Name(RowType::kAddress, InstanceOf(row.vlan, row.ip6), row.ifIndex);
  name.addressType = AddressTypeOf(row.ip6);
  Copy(row.address, name.address);
  return {name};
}

std::vector<RowName> Names(const rows::ProtocolRow& row) {
  RowName name = Name(RowType::kProtocol, row.instance);
  name.table = row.table;
  name.key = row.key;
  return {name};
}

std::vector<RowName> Names(const rows::RouteRow& row) {
  const documents::RouteTarget& target = row.target;
  RowName name = Name(RowType::kRoute, InstanceOf(target.vlan, target.ip6), row.ifIndex);
  name.addressType = AddressTypeOf(target.ip6);
  Copy(target.destination, name.address);
  name.prefixLength = target.length;
  Copy(target.gateway, name.nextHop);
  return {name};
}

std::vector<RowName> Names(const rows::RuleRow& row) {
  RowName name =
      Name(RowType::kRedistribution, InstanceOf(row.destination.vlan, row.destination.ip6));
  name.source = row.source;
  name.destination = row.destination.code;
  return {name};
}

}  // namespace

void Copy(const AddressBytes& from, unsigned char (&to)[16]) {
  std::copy(from.begin(), from.end(), std::begin(to));
}

AddressBytes ToAddress(const unsigned char (&from)[16]) {
  AddressBytes address;
  std::copy(std::begin(from), std::end(from), address.begin());
  return address;
}

std::uint32_t InstanceOf(unsigned short vlan, bool ip6) { return ip6 ? vlan | IP6_BIT : vlan; }

bool IsIp6(std::uint32_t instance) { return (instance & IP6_BIT) != 0; }

std::vector<RowName> NamesOf(const rows::Row& row) {
  return std::visit([](const auto& one) { return Names(one); }, row);
}

rows::Row RowOf(const RowName& name) {
  const unsigned short vlan = VlanOf(name.instance);
  const bool ip6 = IsIp6(name.instance);
  switch (name.type) {
    case RowType::kRtm:
      break;
    case RowType::kInterface:
      return rows::InterfaceRow{vlan, name.ifIndex};
    case RowType::kAddress:
      return rows::AddressRow{vlan, name.ifIndex, name.addressType != 1, ToAddress(name.address)};
    case RowType::kProtocol:
      return rows::ProtocolRow{name.instance, name.table, name.key};
    case RowType::kRoute:
      return rows::RouteRow{
          {vlan, name.addressType != 1, static_cast<unsigned char>(name.prefixLength),
           ToAddress(name.address), ToAddress(name.nextHop)},
          name.ifIndex};
    case RowType::kRedistribution:
      return rows::RuleRow{{vlan, ip6, name.destination}, name.source};
  }
  return rows::InstanceRow{vlan, ip6};
}

rows::StackInstance ToInstance(const InstanceEntry& entry) {
  return {
      {VlanOf(entry.instance), IsIp6(entry.instance)},
      {entry.ospfInternal, entry.ospfExternal, entry.bgpExternal, entry.bgpInternal, entry.rip}};
}

rows::StackRoute ToRoute(const StaticRoute& route) {
  return {{{VlanOf(route.instance), IsIp6(route.instance),
            static_cast<unsigned char>(route.prefixLength), ToAddress(route.destination),
            ToAddress(route.nextHop)},
           route.ifIndex,
           route.metric},
          route.isUp,
          route.isUsable,
          route.isInstalled};
}

documents::RouteTarget ToTarget(const amb_cipr_rtm_route& route) {
  return {VlanOf(route.instance), IsIp6(route.instance),
          static_cast<unsigned char>(route.prefix_length), ToAddress(route.destination),
          ToAddress(route.next_hop)};
}

rows::RuleRow ToRule(const RedistributionRow& row) {
  return {{VlanOf(row.vlan), IsIp6(row.vlan), row.destination}, row.source};
}

InstanceEntry KeyOf(const rows::InstanceRow& row) {
  InstanceEntry key;
  key.instance = InstanceOf(row.vlan, row.ip6);
  return key;
}

amb_stubs_i3_ea KeyOf(const rows::AddressRow& row) {
  amb_stubs_i3_ea key{};
  key.instance = InstanceOf(row.vlan, row.ip6);
  key.if_index = row.ifIndex;
  key.address_type = row.ip6 ? 2 : 1;
  Copy(row.address, key.address);
  return key;
}

StaticRoute KeyOf(const documents::RouteTarget& target, std::uint32_t ifIndex) {
  StaticRoute key;
  key.instance = InstanceOf(target.vlan, target.ip6);
  key.addressType = AddressTypeOf(target.ip6);
  Copy(target.destination, key.destination);
  key.prefixLength = target.length;
  Copy(target.gateway, key.nextHop);
  key.ifIndex = ifIndex;
  return key;
}

RedistributionRow KeyOf(const rows::RuleRow& row) {
  return {InstanceOf(row.destination.vlan, row.destination.ip6), row.source, row.destination.code};
}

}  // namespace ports
