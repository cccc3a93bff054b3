// The names of the rows that a device has in its routing stack: plain values, which say which row
// is meant and not what is in it.
#ifndef DEVICE_ROWS_ROW_H
#define DEVICE_ROWS_ROW_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <variant>

#include "device/documents/route.h"
#include "device/intent/redistribution_plan.h"
#include "device/intent/route_resolution.h"

namespace rows {

/// A routing table instance: one of the two of a VLAN.
struct InstanceRow {
  unsigned short vlan = 0;
  bool ip6 = false;
};

/// An interface. It has a row in each of the two instances of its VLAN; they come and go together.
struct InterfaceRow {
  unsigned short vlan = 0;
  std::uint32_t ifIndex = 0;
};

/// An address of an interface, in network order, an IPv4 one in the first four bytes. Its length is
/// not part of its identity.
struct AddressRow {
  unsigned short vlan = 0;
  std::uint32_t ifIndex = 0;
  bool ip6 = false;
  std::array<unsigned char, 16> address{};
};

/// A row of a protocol's own table. `instance` is the VLAN id, with 0x8000 for IPv6; the key's
/// bytes are the protocol's.
struct ProtocolRow {
  unsigned int instance = 0;
  unsigned int table = 0;
  std::string key;
};

/// A redistribution rule: the routes of `source`, one of intent::SOURCE_CODES, go to the
/// destination.
struct RuleRow {
  intent::Destination destination{};
  std::uint32_t source = 0;
};

/// A static route. The metric is not part of its identity.
struct RouteRow {
  documents::RouteTarget target;
  std::uint32_t ifIndex = 0;  // as it is requested; 0 for none
};

bool operator<(const InstanceRow& a, const InstanceRow& b);
bool operator<(const InterfaceRow& a, const InterfaceRow& b);
bool operator<(const AddressRow& a, const AddressRow& b);
bool operator<(const ProtocolRow& a, const ProtocolRow& b);
bool operator<(const RuleRow& a, const RuleRow& b);
bool operator<(const RouteRow& a, const RouteRow& b);

/// Any of them. The order of the kinds is the order in which they depend on each other.
using Row = std::variant<InstanceRow, InterfaceRow, AddressRow, ProtocolRow, RouteRow, RuleRow>;

/// The VLAN that the row belongs to.
unsigned short VlanOf(const Row& row);

/// Tells the present name of an interface; an empty one if there is none.
using InterfaceNames = std::function<std::string(unsigned short vlan, std::uint32_t ifIndex)>;

/// The row in the words of an operator, with its VLAN: "VLAN 10: route 10.9.0.0/16 via 10.1.2.1". An
/// interface has its number and, if `names` is not empty and tells it, its name: "on interface 3
/// eth0".
std::string Describe(const Row& row, const InterfaceNames& names = {});
/// "route 10.9.0.0/16 via 10.1.2.1 on eth0". Without the interface's name its number is told: "on
/// interface 3".
std::string DescribeWithoutVlan(const Row& row, const std::string& interface = "");
/// The index of the interface that the row is about or of; 0 for none.
std::uint32_t InterfaceOf(const Row& row);

/// What an answer of the stack says: "wrong value (status 3)".
std::string DescribeStatus(unsigned int status);

}  // namespace rows

#endif
