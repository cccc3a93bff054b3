#include "route.h"

#include <arpa/inet.h>

#include <cstring>

namespace kernel {

namespace {

std::string AddressText(const Address& address, bool isIp6) {
  char text[INET6_ADDRSTRLEN];
  inet_ntop(isIp6 ? AF_INET6 : AF_INET, address.data(), text, sizeof text);
  return text;
}

}  // namespace

// Prefixes that follow one another differ in a few bits of one byte: these must reach all bits of
// the hash.
std::size_t RouteKeyHash::operator()(const RouteKey& key) const {
  constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15;
  std::uint64_t halves[2];
  static_assert(sizeof halves == sizeof key.destination);
  std::memcpy(halves, key.destination.data(), sizeof halves);
  std::uint64_t hash = (std::uint64_t{key.table} << 9) + key.length + (key.isIp6 ? 256 : 0);
  for (const std::uint64_t half : halves) {
    hash = (hash ^ half) * FACTOR;
    hash ^= hash >> 32;
  }
  return static_cast<std::size_t>(hash);
}

std::string DescribeKey(const RouteKey& key) {
  return AddressText(key.destination, key.isIp6) + "/" + std::to_string(key.length) + " in table " +
         std::to_string(key.table);
}

std::string DescribeNextHop(const NextHop& nextHop, bool isIp6) {
  const std::string device = "dev " + std::to_string(nextHop.ifIndex);
  return nextHop.HasGateway() ? "via " + AddressText(nextHop.gateway, isIp6) + " " + device
                              : device;
}

}  // namespace kernel
