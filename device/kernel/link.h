// Links of the machine, as plain data.
#ifndef DEVICE_KERNEL_LINK_H
#define DEVICE_KERNEL_LINK_H

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "route.h"

namespace kernel {

/// That of the loopback interface, in each namespace. Its name is that of what the machine itself
/// sends.
constexpr std::uint32_t LOOPBACK_INDEX = 1;

/// An address with the length of its network.
struct LinkAddress {
  bool isIp6 = false;
  Address address{};
  /// Of a link between two ends, the address of the other one (IPv4); else the address again.
  Address other{};
  unsigned char length = 0;  // at most 32 or 128
  /// It is in the network of another address of the link, which came before it (IPv4).
  bool isSecondary = false;
  unsigned char scope = 0;  // the kernel's; 0 is the widest

  /// What addresses of a link are told apart by. The kernel lets one address stand twice in IPv4,
  /// with two lengths or two other ends.
  bool IsSame(const LinkAddress& that) const {
    return isIp6 == that.isIp6 && address == that.address &&
           (isIp6 || (length == that.length && other == that.other));
  }
  friend bool operator==(const LinkAddress& a, const LinkAddress& b) {
    return std::tie(a.isIp6, a.address, a.other, a.length, a.isSecondary, a.scope) ==
           std::tie(b.isIp6, b.address, b.other, b.length, b.isSecondary, b.scope);
  }
};

struct Link {
  std::uint32_t index = 0;
  std::string name;   // up to 15 bytes, not necessarily printable
  bool isUp = false;  // and running: the other end is there, as far as the driver knows
  bool isLoopback = false;
  bool isPointToPoint = false;
  bool isBroadcast = false;
  bool isMulticast = false;
  std::uint32_t mtu = 0;
  std::optional<std::uint16_t> tag;       // of a VLAN sub-interface, its 802.1Q id
  std::uint32_t master = 0;               // the index of the link that enslaves it, 0 for none
  std::optional<std::uint32_t> vrfTable;  // of a VRF device, its table; 0 if that is not told
  std::vector<LinkAddress> addresses;     // in the order in which they came

  friend bool operator==(const Link& a, const Link& b) {
    return std::tie(a.index, a.name, a.isUp, a.isLoopback, a.isPointToPoint, a.isBroadcast,
                    a.isMulticast, a.mtu, a.tag, a.master, a.vrfTable, a.addresses) ==
           std::tie(b.index, b.name, b.isUp, b.isLoopback, b.isPointToPoint, b.isBroadcast,
                    b.isMulticast, b.mtu, b.tag, b.master, b.vrfTable, b.addresses);
  }
};

}  // namespace kernel

#endif
