#include "row.h"

#include <algorithm>

#include "device/program/printable.h"
#include "tarsel/address.h"
#include "vantacore/dc_rtm_mgr.h"

namespace rows {

namespace {

// More of a key would make a line hard to read.
constexpr std::size_t MOST_OF_A_KEY = 64;
constexpr std::size_t MOST_OF_A_NAME = 32;

const char* FamilyOf(bool ip6) { return ip6 ? "IPv6" : "IPv4"; }

using Address = std::array<unsigned char, 16>;

std::string AddressText(bool ip6, const Address& address) {
  return ip6 ? Tarsel::Ip6Addr::FromBytes(address.data()).ToString().c_str()
             : Tarsel::Ip4Addr::FromBytes(address.data()).ToString().c_str();
}

bool IsZero(const Address& address) {
  return std::all_of(address.begin(), address.end(), [](unsigned char byte) { return byte == 0; });
}

// An interface by its name or its number.
std::string InterfaceText(std::uint32_t ifIndex, const std::string& name) {
  return "interface " + (name.empty() ? std::to_string(ifIndex) : name);
}

std::string TextOf(const InstanceRow& row, const std::string&) {
  return std::string(FamilyOf(row.ip6)) + " routing table";
}

std::string TextOf(const InterfaceRow& row, const std::string& interface) {
  return InterfaceText(row.ifIndex, interface);
}

std::string TextOf(const AddressRow& row, const std::string& interface) {
  return "address " + AddressText(row.ip6, row.address) + " of " +
         InterfaceText(row.ifIndex, interface);
}

std::string TextOf(const ProtocolRow& row, const std::string&) {
  return "row " + program::Printable(row.key, MOST_OF_A_KEY) + " of table " +
         std::to_string(row.table);
}

std::string TextOf(const RouteRow& row, const std::string& interface) {
  const documents::RouteTarget& target = row.target;
  std::string text =
      "route " + AddressText(target.ip6, target.destination) + '/' + std::to_string(target.length);
  if (!IsZero(target.gateway)) {
    text += " via " + AddressText(target.ip6, target.gateway);
  }
  if (row.ifIndex != 0) {
    text += " on " + (interface.empty() ? InterfaceText(row.ifIndex, {}) : interface);
  }
  return text;
}

std::string TextOf(const RuleRow& row, const std::string&) {
  return std::string("redistribution of ") + intent::NameOfSource(row.source) + " routes to " +
         intent::NameOf(row.destination);
}

unsigned short VlanIn(const ProtocolRow& row) { return Tarsel::VlanOfInstance(row.instance); }
unsigned short VlanIn(const RouteRow& row) { return row.target.vlan; }
unsigned short VlanIn(const RuleRow& row) { return row.destination.vlan; }
template <class Kind>
unsigned short VlanIn(const Kind& row) {
  return row.vlan;
}

std::uint32_t IndexIn(const InterfaceRow& row) { return row.ifIndex; }
std::uint32_t IndexIn(const AddressRow& row) { return row.ifIndex; }
std::uint32_t IndexIn(const RouteRow& row) { return row.ifIndex; }
template <class Kind>
std::uint32_t IndexIn(const Kind&) {
  return 0;
}

const char* ReasonOf(unsigned int status) {
  switch (status) {
    case 1:
      return "done";
    case 3:
      return "wrong value";
    case 4:
      return "values that do not fit each other";
    case 5:
      return "try again";
    case 6:
      return "no such row";
    case 8:
      return "agent error";
    default:
      return "refused";
  }
}

}  // namespace

bool operator<(const InstanceRow& a, const InstanceRow& b) {
  return std::tie(a.vlan, a.ip6) < std::tie(b.vlan, b.ip6);
}

bool operator<(const InterfaceRow& a, const InterfaceRow& b) {
  return std::tie(a.vlan, a.ifIndex) < std::tie(b.vlan, b.ifIndex);
}

bool operator<(const AddressRow& a, const AddressRow& b) {
  return std::tie(a.vlan, a.ifIndex, a.ip6, a.address) <
         std::tie(b.vlan, b.ifIndex, b.ip6, b.address);
}

bool operator<(const ProtocolRow& a, const ProtocolRow& b) {
  return std::tie(a.instance, a.table, a.key) < std::tie(b.instance, b.table, b.key);
}

bool operator<(const RuleRow& a, const RuleRow& b) {
  return std::tie(a.destination, a.source) < std::tie(b.destination, b.source);
}

bool operator<(const RouteRow& a, const RouteRow& b) {
  return std::tie(a.target, a.ifIndex) < std::tie(b.target, b.ifIndex);
}

unsigned short VlanOf(const Row& row) {
  return std::visit([](const auto& kind) { return VlanIn(kind); }, row);
}

std::string Describe(const Row& row, const InterfaceNames& names) {
  const std::uint32_t ifIndex = InterfaceOf(row);
  const std::string name = names && ifIndex != 0 ? names(VlanOf(row), ifIndex) : "";
  std::string interface;
  if (!name.empty()) {
    interface = std::holds_alternative<RouteRow>(row) ? "interface " : "";
    interface += std::to_string(ifIndex) + ' ' + program::Printable(name, MOST_OF_A_NAME);
  }
  return "VLAN " + std::to_string(VlanOf(row)) + ": " + DescribeWithoutVlan(row, interface);
}

std::string DescribeWithoutVlan(const Row& row, const std::string& interface) {
  return std::visit([&interface](const auto& kind) { return TextOf(kind, interface); }, row);
}

std::uint32_t InterfaceOf(const Row& row) {
  return std::visit([](const auto& kind) { return IndexIn(kind); }, row);
}

std::string DescribeStatus(unsigned int status) {
  return std::string(ReasonOf(status)) + " (status " + std::to_string(status) + ')';
}

}  // namespace rows
