#include "route.h"

#include <arpa/inet.h>

#include <cstring>

namespace documents {

std::string AddressText(bool ip6, const std::array<unsigned char, 16>& address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(ip6 ? AF_INET6 : AF_INET, address.data(), text, sizeof text);
}

namespace {

int Compare(const std::array<unsigned char, 16>& a, const std::array<unsigned char, 16>& b) {
  return std::memcmp(a.data(), b.data(), a.size());
}

}  // namespace

bool operator<(const RouteTarget& a, const RouteTarget& b) {
  if (a.vlan != b.vlan || a.ip6 != b.ip6) {
    return a.vlan != b.vlan ? a.vlan < b.vlan : a.ip6 < b.ip6;
  }
  if (const int order = Compare(a.destination, b.destination)) {
    return order < 0;
  }
  return a.length != b.length ? a.length < b.length : Compare(a.gateway, b.gateway) < 0;
}

bool operator==(const RouteTarget& a, const RouteTarget& b) {
  return a.vlan == b.vlan && a.ip6 == b.ip6 && a.length == b.length &&
         a.destination == b.destination && a.gateway == b.gateway;
}

Place Routes::PlaceOf(const Route& route, const std::string& file) const {
  return {file, route.position, m_names.PathOf(route.element)};
}

}  // namespace documents
