// Routes of the kernel, as plain data.
#ifndef DEVICE_KERNEL_ROUTE_H
#define DEVICE_KERNEL_ROUTE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kernel {

/// The number that marks the routes of this device among those of other programs (rtm_protocol).
/// `ip route show proto 201` lists them.
constexpr unsigned char OUR_PROTOCOL = 201;

/// A route of ours has one of two priorities ("metric" in `ip route`), the lower one first. The
/// successor of a route gets the other one: so both may stand for a moment, and no packet finds
/// nothing. A route with one of these priorities that another program has made is left alone.
constexpr std::array<std::uint32_t, 2> OUR_PRIORITIES = {220, 221};

/// The kernel's own tables. No VLAN uses one of the first two, nor table 0.
constexpr std::uint32_t DEFAULT_TABLE = 253;
constexpr std::uint32_t LOCAL_TABLE = 255;
constexpr std::uint32_t MAIN_TABLE = 254;

/// In network order; an IPv4 address stands in the first four bytes, and the others are 0.
using Address = std::array<unsigned char, 16>;

/// What routes are told apart by: at most one of ours stands for it, but for the moment in which
/// one follows another.
struct RouteKey {
  std::uint32_t table = MAIN_TABLE;
  bool isIp6 = false;
  unsigned char length = 0;  // at most 32 or 128
  Address destination{};     // host bits clear

  friend bool operator==(const RouteKey& a, const RouteKey& b) {
    return a.table == b.table && a.isIp6 == b.isIp6 && a.length == b.length &&
           a.destination == b.destination;
  }
};

struct RouteKeyHash {
  std::size_t operator()(const RouteKey& key) const;
};

/// Where a route leads: over an interface, to a gateway or, without one, to neighbours there.
struct NextHop {
  Address gateway{};  // all zero for none
  std::uint32_t ifIndex = 0;

  bool HasGateway() const { return gateway != Address{}; }
  friend bool operator==(const NextHop& a, const NextHop& b) {
    return a.gateway == b.gateway && a.ifIndex == b.ifIndex;
  }
  friend bool operator!=(const NextHop& a, const NextHop& b) { return !(a == b); }
};

/// "10.9.0.0/16 in table 254".
std::string DescribeKey(const RouteKey& key);
/// "via 10.1.2.1 dev 3", "dev 3".
std::string DescribeNextHop(const NextHop& nextHop, bool isIp6);

}  // namespace kernel

#endif
