#include "prefix.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "device/program/decimal.h"
#include "names.h"

namespace views {

namespace {

unsigned char BitsOf(const Address& address) { return address.ip6 ? 128 : 32; }

// Whether the first `length` bits of the two are the same.
bool IsSame(const Address& a, const Address& b, unsigned char length) {
  const std::size_t whole = length / 8;
  if (std::memcmp(a.bytes.data(), b.bytes.data(), whole) != 0) {
    return false;
  }
  const unsigned int rest = length % 8;
  const unsigned int mask = 0xFF00u >> rest & 0xFFu;
  return rest == 0 || ((a.bytes[whole] ^ b.bytes[whole]) & mask) == 0;
}

}  // namespace

bool operator==(const Address& a, const Address& b) { return a.ip6 == b.ip6 && a.bytes == b.bytes; }

bool operator==(const Prefix& a, const Prefix& b) {
  return a.length == b.length && a.address == b.address;
}

std::optional<Address> ReadAddress(std::string_view text) {
  const std::string copy(text);
  Address address;
  address.ip6 = text.find(':') != std::string_view::npos;
  const bool isRead =
      text.find('\0') == std::string_view::npos &&
      inet_pton(address.ip6 ? AF_INET6 : AF_INET, copy.c_str(), address.bytes.data()) == 1;
  return isRead ? std::optional(address) : std::nullopt;
}

namespace {

std::optional<Prefix> ReadUncut(std::string_view text) {
  const std::size_t slash = text.find('/');
  const auto address = ReadAddress(text.substr(0, slash));
  if (!address || slash == std::string_view::npos) {
    return std::nullopt;
  }
  const auto length =
      program::ReadDecimal(std::string(text.substr(slash + 1)), 0, BitsOf(*address));
  if (!length) {
    return std::nullopt;
  }
  return Prefix{*address, static_cast<unsigned char>(*length)};
}

}  // namespace

std::optional<Prefix> ReadPrefix(std::string_view text) {
  const std::optional<Prefix> prefix = ReadUncut(text);
  return prefix && Cut(*prefix) == *prefix ? prefix : std::nullopt;
}

std::optional<Prefix> ReadNetwork(std::string_view text) {
  const std::optional<Prefix> prefix = ReadUncut(text);
  return prefix ? std::optional(Cut(*prefix)) : std::nullopt;
}

Prefix Cut(const Prefix& prefix) {
  Prefix cut = prefix;
  for (std::size_t i = 0; i < cut.address.bytes.size(); ++i) {
    const std::size_t bits =
        std::min<std::size_t>(8, prefix.length - std::min<std::size_t>(prefix.length, 8 * i));
    cut.address.bytes[i] &= static_cast<unsigned char>(0xFF00u >> bits);
  }
  return cut;
}

bool Holds(const Prefix& prefix, const Address& address) {
  return prefix.address.ip6 == address.ip6 && IsSame(prefix.address, address, prefix.length);
}

bool Holds(const Prefix& prefix, const Prefix& other) {
  return prefix.length <= other.length && Holds(prefix, other.address);
}

std::string Describe(const Address& address) {
  std::string text;
  AppendAddress(address.ip6, address.bytes, text);
  return text;
}

std::string Describe(const Prefix& prefix) {
  return Describe(prefix.address) + "/" + std::to_string(prefix.length);
}

}  // namespace views
