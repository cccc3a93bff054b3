// Addresses as text, for logs and console output.
#include <cstdio>

#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

// What callers give for an IPv4 and an IPv6 text, terminator included.
constexpr std::size_t IP4_TEXT_SIZE = 16;
constexpr std::size_t IP6_TEXT_SIZE = 48;

}  // namespace

char* Ip4AddrToStr(char* buffer, const void* address) {
  const auto* bytes = static_cast<const unsigned char*>(address);
  std::snprintf(buffer, IP4_TEXT_SIZE, "%u.%u.%u.%u", bytes[0], bytes[1], bytes[2], bytes[3]);
  return buffer;
}

char* Ip6AddrToStr(char* buffer, const void* address) {
  std::snprintf(buffer, IP6_TEXT_SIZE, "%s", Ip6Addr::FromBytes(address).ToString().c_str());
  return buffer;
}

string FormatIp4Addr(unsigned int address) {
  char buffer[20];
  return Ip4Addr::Uint32ToString(address, buffer, sizeof buffer) ? string(buffer) : string();
}

string FormatIp4Addr(const void* address) { return Ip4Addr::FromBytes(address).ToString(); }

string FormatIp6Addr(const void* address) { return Ip6Addr::FromBytes(address).ToString(); }

}  // namespace Tarsel
