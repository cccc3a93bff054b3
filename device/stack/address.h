// Addresses and prefixes as the engine computes with them.
//
// An address is two words whose first bit is the address's first bit; an IPv4 address takes the top
// 32 bits of the first. Masks, ranges and the order of tables are then the same arithmetic for both
// families, and the order is that of the bytes.
#ifndef DEVICE_STACK_ADDRESS_H
#define DEVICE_STACK_ADDRESS_H

#include <cstdint>
#include <string>

namespace routing_stack {

enum class Family : std::uint8_t { kIp4 = 1, kIp6 = 2 };

/// The stack takes 1 for IPv4 and anything else for IPv6.
inline Family FamilyOf(int addressType) { return addressType == 1 ? Family::kIp4 : Family::kIp6; }

inline std::uint32_t MaximalLength(Family family) { return family == Family::kIp4 ? 32 : 128; }

struct Address {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  /// Four or sixteen bytes in network order; a null pointer gives the unspecified address.
  static Address FromBytes(const unsigned char* bytes, Family family);

  /// Always sixteen bytes; those beyond an IPv4 address are zero.
  void ToBytes(unsigned char (&bytes)[16]) const;

  bool IsUnspecified() const { return high == 0 && low == 0; }
  /// fe80::/10; the caller knows that the address is an IPv6 one.
  bool IsLinkLocal() const { return high >> 54 == 0x3FA; }

  std::string ToText(Family family) const;

  friend bool operator==(const Address& a, const Address& b) {
    return a.high == b.high && a.low == b.low;
  }
  friend bool operator!=(const Address& a, const Address& b) { return !(a == b); }
  friend bool operator<(const Address& a, const Address& b) {
    return a.high != b.high ? a.high < b.high : a.low < b.low;
  }
};

/// How many leading bits two addresses share: 128 if they are equal, of either family.
std::uint32_t CommonLength(const Address& a, const Address& b);

/// The address of `length` leading ones, `length` up to 128.
Address MaskOf(std::uint32_t length);

struct Prefix {
  Address address;  // without bits beyond the length
  std::uint8_t length = 0;

  /// Cuts the bits beyond the length; `length` is at most 128.
  static Prefix Of(const Address& address, std::uint32_t length);

  Address First() const { return address; }
  /// For an IPv4 prefix the bits after the address are ones as well, which no IPv4 address reaches.
  Address Last() const;

  friend bool operator==(const Prefix& a, const Prefix& b) {
    return a.address == b.address && a.length == b.length;
  }
  friend bool operator!=(const Prefix& a, const Prefix& b) { return !(a == b); }
  friend bool operator<(const Prefix& a, const Prefix& b) {
    return a.address != b.address ? a.address < b.address : a.length < b.length;
  }
};

}  // namespace routing_stack

#endif
