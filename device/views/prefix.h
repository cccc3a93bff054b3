// Addresses and prefixes as views name them.
#ifndef DEVICE_VIEWS_PREFIX_H
#define DEVICE_VIEWS_PREFIX_H

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace views {

/// In network order, an IPv4 address in the first four bytes and the others 0.
struct Address {
  bool ip6 = false;
  std::array<unsigned char, 16> bytes{};
};

struct Prefix {
  Address address;  // without host bits
  unsigned char length = 0;
};

bool operator==(const Address& a, const Address& b);
bool operator==(const Prefix& a, const Prefix& b);

/// Nothing for what is not an address of either family.
std::optional<Address> ReadAddress(std::string_view text);
/// "10.0.0.0/8". Nothing if the length is missing or too long, or if there are host bits.
std::optional<Prefix> ReadPrefix(std::string_view text);
/// The same, with or without host bits: the prefix that holds the address.
std::optional<Prefix> ReadNetwork(std::string_view text);
/// The prefix without the bits after its length.
Prefix Cut(const Prefix& prefix);
/// Whether the prefix holds the address, or the other prefix.
bool Holds(const Prefix& prefix, const Address& address);
bool Holds(const Prefix& prefix, const Prefix& other);

std::string Describe(const Address& address);
std::string Describe(const Prefix& prefix);

}  // namespace views

#endif
