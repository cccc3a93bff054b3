// What a device document says, as plain data.
#ifndef DEVICE_DOCUMENTS_DEVICE_H
#define DEVICE_DOCUMENTS_DEVICE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "place.h"
#include "tarsel/address.h"

namespace documents {

/// VLAN and interface index.
using InterfaceKey = std::pair<unsigned short, std::uint32_t>;

struct Ip4Network {
  Tarsel::Ip4Addr address;
  Tarsel::Ip4Addr mask;

  friend bool operator==(const Ip4Network& a, const Ip4Network& b) {
    return a.address == b.address && a.mask == b.mask;
  }
  friend bool operator!=(const Ip4Network& a, const Ip4Network& b) { return !(a == b); }
};

/// An order for sets of prefixes: by address, then by length.
struct Ip6PrefixOrder {
  bool operator()(const Tarsel::Ip6Prefix& a, const Tarsel::Ip6Prefix& b) const;
};

struct Interface {
  std::string name;
  std::uint32_t flags = 0;  // DcInterfaceMgr::AddInterface's bits
  std::uint32_t mtu = 1500;
  bool up = true;
  bool joined = false;  // a remote has joined on it
  std::optional<Ip4Network> ip4;
  std::vector<Tarsel::Ip6Prefix> ip6;  // each with its host bits, no address twice
};

using Interfaces = std::map<InterfaceKey, Interface>;

/// Where an interface and its addresses are in the document: the i-th origin of `ip6` is that of the
/// i-th IPv6 address.
struct InterfaceOrigin {
  Place place;
  Place ip4;
  std::vector<Place> ip6;
};

/// What the device does in the tables of the machine's kernel.
struct KernelSettings {
  bool writesRoutes = false;
  /// A VLAN other than the default one has the table of this number plus its id.
  std::uint32_t tableBase = 40000;

  friend bool operator==(const KernelSettings& a, const KernelSettings& b) {
    return a.writesRoutes == b.writesRoutes && a.tableBase == b.tableBase;
  }
};

struct Device {
  unsigned short defaultVlan = 1;
  KernelSettings kernel;
  Interfaces interfaces;
  std::map<InterfaceKey, InterfaceOrigin> origins;  // of each interface
  std::map<unsigned short, std::string> primaries;  // by VLAN
};

}  // namespace documents

#endif
