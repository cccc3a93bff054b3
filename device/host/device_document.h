// The device document: what the machine around the library looks like.
//
//   { "default_vlan": 10,
//     "interfaces": [
//       { "name": "eth0", "vlan": 10, "index": 3, "flags": ["broadcast", "multicast"], "mtu": 1500,
//         "up": true, "joined": false, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8:1::1/64"] } ],
//     "primary_interfaces": { "10": "eth0" } }
//
// "name", "vlan" and "index" are required. An interface is up and has an MTU of 1500 unless the
// document says otherwise; "joined" says that a remote has joined on it. It has one IPv4 address,
// as in the library, and any number of IPv6 ones.
#ifndef DEVICE_HOST_DEVICE_DOCUMENT_H
#define DEVICE_HOST_DEVICE_DOCUMENT_H

#include <json/value.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "report.h"
#include "tarsel/address.h"

namespace host {

/// VLAN and interface index.
using InterfaceKey = std::pair<unsigned short, std::uint32_t>;

struct Ip4Network {
  Tarsel::Ip4Addr address;
  Tarsel::Ip4Addr mask;
};

/// An order for sets of prefixes: by address, then by length.
struct Ip6PrefixOrder {
  bool operator()(const Tarsel::Ip6Prefix& a, const Tarsel::Ip6Prefix& b) const;
};
using Ip6Prefixes = std::set<Tarsel::Ip6Prefix, Ip6PrefixOrder>;

struct Interface {
  std::string name;
  std::uint32_t flags = 0;  // DcInterfaceMgr::AddInterface's bits
  std::uint32_t mtu = 1500;
  bool up = true;
  bool joined = false;
  std::optional<Ip4Network> ip4;
  std::vector<Tarsel::Ip6Prefix> ip6;  // each with its host bits
};

struct DeviceDocument {
  unsigned short defaultVlan = 1;
  std::map<InterfaceKey, Interface> interfaces;
  std::map<unsigned short, std::string> primaries;  // by VLAN
};

/// Reads "ADDRESS/LENGTH". False for any other text; the result may have been changed then.
bool ReadPrefix(const std::string& text, Ip4Network& network);
bool ReadPrefix(const std::string& text, Tarsel::Ip6Prefix& prefix);

/// Reads the document. What cannot be used is reported and left out: a member that may be absent by
/// itself, an interface without its required members as a whole.
DeviceDocument ReadDeviceDocument(const Json::Value& document, const std::string& file,
                                  const Report& report);

}  // namespace host

#endif
