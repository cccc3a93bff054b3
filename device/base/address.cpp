// Address classes. The C library's inet_pton and inet_ntop decide the syntax: four decimal numbers
// without leading zeros, and the colon forms with "::" and an embedded IPv4 tail.
#include "tarsel/address.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Tarsel {

// ---- IPv4

Ip4Addr Ip4Addr::FromBytes(const void* bytes) {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return Ip4Addr(word);
}

string Ip4Addr::ToString() const {
  char buffer[16];
  Uint32ToString(m_word, buffer, sizeof buffer);
  return string(buffer);
}

bool Ip4Addr::Uint32ToString(std::uint32_t word, char* buffer, std::size_t size) {
  unsigned char b[4];
  std::memcpy(b, &word, sizeof b);
  char text[16];
  const int length = std::snprintf(text, sizeof text, "%u.%u.%u.%u", b[0], b[1], b[2], b[3]);
  if (buffer == nullptr || static_cast<std::size_t>(length) >= size) {
    return false;
  }
  std::memcpy(buffer, text, static_cast<std::size_t>(length) + 1);
  return true;
}

int Parse_IpAddr::operator()(Ip4Addr& addr, const char* text) const {
  unsigned char bytes[4];
  if (text == nullptr || inet_pton(AF_INET, text, bytes) != 1) {
    return 0;
  }
  addr = Ip4Addr::FromBytes(bytes);
  return 1;
}

// ---- IPv6

namespace {

// A text with a NUL inside would be read only up to it; such a text is not an address.
bool HasEmbeddedNul(const string& text) { return std::strlen(text.c_str()) != text.get_length(); }

}  // namespace

Ip6Addr Ip6Addr::FromBytes(const void* bytes) {
  Ip6Addr address;
  std::memcpy(address.m_bytes, bytes, sizeof address.m_bytes);
  return address;
}

bool Ip6Addr::FromString(const string& text) {
  unsigned char bytes[16];
  if (HasEmbeddedNul(text) || inet_pton(AF_INET6, text.c_str(), bytes) != 1) {
    return false;
  }
  std::memcpy(m_bytes, bytes, sizeof m_bytes);
  return true;
}

string Ip6Addr::ToString() const {
  char buffer[INET6_ADDRSTRLEN];
  return string(inet_ntop(AF_INET6, m_bytes, buffer, sizeof buffer));
}

bool operator==(const Ip6Addr& a, const Ip6Addr& b) {
  return std::memcmp(a.GetBytes(), b.GetBytes(), 16) == 0;
}
bool operator!=(const Ip6Addr& a, const Ip6Addr& b) { return !(a == b); }

// ---- Prefixes

namespace {

// Decimal digits only, at most three of them, 0 to 128.
bool ParsePrefixLength(const char* text, unsigned int& length) {
  const std::size_t digits = std::strspn(text, "0123456789");
  if (digits == 0 || digits > 3 || text[digits] != '\0') {
    return false;
  }
  const unsigned long value = std::strtoul(text, nullptr, 10);
  if (value > 128) {
    return false;
  }
  length = static_cast<unsigned int>(value);
  return true;
}

void ClearHostBits(unsigned char* bytes, unsigned int length) {
  for (unsigned int i = 0; i < 16; ++i) {
    const unsigned int kept = length > i * 8 ? length - i * 8 : 0;
    if (kept < 8) {
      bytes[i] &= static_cast<unsigned char>(0xff00u >> kept);
    }
  }
}

// The word whose bytes in memory are n leading one bits. Constant expressions, so the table below
// is complete before any code runs.
constexpr std::uint32_t Mask(unsigned int n) {
  const std::uint32_t value = n == 0 ? 0 : 0xffffffffu << (32 - n);
  return Ip4Addr(value >> 24, value >> 16 & 0xff, value >> 8 & 0xff, value & 0xff).GetValue();
}

}  // namespace

constexpr std::uint32_t Ip6Prefix::s_masks32[33] = {
    Mask(0),  Mask(1),  Mask(2),  Mask(3),  Mask(4),  Mask(5),  Mask(6),  Mask(7),  Mask(8),
    Mask(9),  Mask(10), Mask(11), Mask(12), Mask(13), Mask(14), Mask(15), Mask(16), Mask(17),
    Mask(18), Mask(19), Mask(20), Mask(21), Mask(22), Mask(23), Mask(24), Mask(25), Mask(26),
    Mask(27), Mask(28), Mask(29), Mask(30), Mask(31), Mask(32)};

bool Ip6Prefix::FromString(const string& text) {
  const char* slash = std::strchr(text.c_str(), '/');
  unsigned int length = 0;
  Ip6Addr address;
  if (HasEmbeddedNul(text) || slash == nullptr || !ParsePrefixLength(slash + 1, length) ||
      !address.FromString(string(text.c_str(), static_cast<std::size_t>(slash - text.c_str())))) {
    return false;
  }
  ClearHostBits(address.m_bytes, length);
  m_address = address;
  m_length = length;
  return true;
}

string Ip6Prefix::ToString() const {
  string text = m_address.ToString();
  text.AppendFmt("/%u", m_length);
  return text;
}

bool operator==(const Ip6Prefix& a, const Ip6Prefix& b) {
  return a.GetLength() == b.GetLength() && a.GetAddress() == b.GetAddress();
}
bool operator!=(const Ip6Prefix& a, const Ip6Prefix& b) { return !(a == b); }

// ---- Well-known addresses

namespace {

Ip6Addr MakeAddress(const char* text) {
  Ip6Addr address;
  address.FromString(text);
  return address;
}

Ip6Prefix MakePrefix(const char* text) {
  Ip6Prefix prefix;
  prefix.FromString(text);
  return prefix;
}

}  // namespace

const Ip6Addr& Ip6AllNodes() {
  static const Ip6Addr address = MakeAddress("FF02::1");
  return address;
}

const Ip6Addr& Ip6Multicast() {
  static const Ip6Addr address = MakeAddress("FF00::");
  return address;
}

const Ip6Prefix& Ip6MulticastPrefix() {
  static const Ip6Prefix prefix = MakePrefix("FF00::/8");
  return prefix;
}

const Ip6Prefix& Ip6DefaultPrefix() {
  static const Ip6Prefix prefix = MakePrefix("::/0");
  return prefix;
}

const Ip6Prefix& Ip6LinkLocalPrefix() {
  static const Ip6Prefix prefix = MakePrefix("FE80::/10");
  return prefix;
}

const Ip6Prefix& Ip6SiteLocalPrefix() {
  static const Ip6Prefix prefix = MakePrefix("FEC0::/10");
  return prefix;
}

const Ip6Prefix& Ip6UniqueLocalPrefix() {
  static const Ip6Prefix prefix = MakePrefix("FC00::/7");
  return prefix;
}

}  // namespace Tarsel
