// What a device document says, as plain data.
#ifndef DEVICE_DOCUMENTS_DEVICE_H
#define DEVICE_DOCUMENTS_DEVICE_H

#include <cstdint>
#include <map>
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
  /// The primary one first, no address twice. A document gives one at most.
  std::vector<Ip4Network> ip4;
  std::vector<Tarsel::Ip6Prefix> ip6;  // each with its host bits, no address twice
  /// A link of the machine: what it is like is the kernel's word, and not the document's.
  bool isLink = false;
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
  /// Rules keep the VLANs apart; only with routes.
  bool writesRules = false;
  /// A VLAN other than the default one has the table of this number plus its id, unless it has a
  /// VRF device (LinkSettings::vrfs).
  std::uint32_t tableBase = 40000;
  /// By VLAN, how many next hops a route has at most, where that is more than one: those of equal
  /// candidates. Only with routes.
  std::map<unsigned short, unsigned char> multipath;

  friend bool operator==(const KernelSettings& a, const KernelSettings& b) {
    return a.HasSamePlaces(b) && a.multipath == b.multipath;
  }
  /// Whether the same is written at the same places; where routes lead does not count.
  bool HasSamePlaces(const KernelSettings& other) const {
    return writesRoutes == other.writesRoutes && writesRules == other.writesRules &&
           tableBase == other.tableBase;
  }
};

/// Which links of the machine are interfaces of the device.
struct LinkSettings {
  // Patterns of names, as a shell has them.
  std::vector<std::string> taken;
  std::vector<std::string> ignored;  // although they are among the others
  /// By name, the VLANs of those that the document has among its interfaces.
  std::map<std::string, unsigned short> vlans;
  /// By the name of a VRF device, the VLAN of what it enslaves; no VLAN twice.
  std::map<std::string, unsigned short> vrfs;

  /// Whether a link of this name is an interface of the device.
  bool Take(const std::string& name) const;

  friend bool operator==(const LinkSettings& a, const LinkSettings& b) {
    return a.taken == b.taken && a.ignored == b.ignored && a.vlans == b.vlans && a.vrfs == b.vrfs;
  }
  friend bool operator!=(const LinkSettings& a, const LinkSettings& b) { return !(a == b); }
};

struct Device {
  unsigned short defaultVlan = 1;
  KernelSettings kernel;
  LinkSettings links;
  /// Those that are not links. What the document says of a link, but its VLAN, does not count.
  Interfaces interfaces;
  std::map<InterfaceKey, InterfaceOrigin> origins;  // of each interface
  std::map<unsigned short, std::string> primaries;  // by VLAN
};

}  // namespace documents

#endif
