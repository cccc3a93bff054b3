// Addresses to text, for logs and console output. The other way, from text: config_parser.cpp.
//
// A route's request and its answer put four IPv4 addresses into log lines, shown or not, so these
// are written digit by digit: printf would take longer than all the rest of the route.
#include <cstdio>

#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

// What callers give for an IPv4 and an IPv6 text, terminator included.
constexpr std::size_t IP4_TEXT_SIZE = 16;
constexpr std::size_t IP6_TEXT_SIZE = 48;

char* WriteDecimal(char* to, unsigned int byte) {
  if (byte >= 100) {
    *to++ = static_cast<char>('0' + byte / 100);
  }
  if (byte >= 10) {
    *to++ = static_cast<char>('0' + byte / 10 % 10);
  }
  *to++ = static_cast<char>('0' + byte % 10);
  return to;
}

// `to` has room for IP4_TEXT_SIZE bytes. Gives back the end of the text.
char* WriteIp4(char* to, const void* address) {
  const auto* bytes = static_cast<const unsigned char*>(address);
  to = WriteDecimal(to, bytes[0]);
  for (int i = 1; i < 4; ++i) {
    *to++ = '.';
    to = WriteDecimal(to, bytes[i]);
  }
  *to = '\0';
  return to;
}

}  // namespace

char* Ip4AddrToStr(char* buffer, const void* address) {
  WriteIp4(buffer, address);
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

string FormatIp4Addr(const void* address) {
  char text[IP4_TEXT_SIZE];
  return string(text, static_cast<std::size_t>(WriteIp4(text, address) - text));
}

string FormatIp6Addr(const void* address) { return Ip6Addr::FromBytes(address).ToString(); }

}  // namespace Tarsel
