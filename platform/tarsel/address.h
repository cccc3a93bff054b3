// Address value classes and the constants that come with them.
#ifndef TARSEL_ADDRESS_H
#define TARSEL_ADDRESS_H

#include <cstddef>
#include <cstdint>

#include "tarsel/export.h"
#include "tarsel/string.h"

namespace Tarsel {

/// An IPv4 address. It holds one 32-bit word in network order: the bytes a, b, c, d of a.b.c.d lie
/// in memory in that order, so comparing the word is not comparing the address on a little-endian
/// machine.
class TARSEL_API Ip4Addr {
 public:
  /// 0.0.0.0
  constexpr Ip4Addr() : m_word(0) {}
  /// From the word as it lies in memory (network order).
  explicit constexpr Ip4Addr(std::uint32_t word) : m_word(word) {}
  /// a.b.c.d, each from 0 to 255.
  constexpr Ip4Addr(unsigned a, unsigned b, unsigned c, unsigned d)
      : m_word(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? a | b << 8 | c << 16 | d << 24
                                                         : a << 24 | b << 16 | c << 8 | d) {}

  /// From four bytes in network order.
  static Ip4Addr FromBytes(const void* bytes);

  /// The word as it lies in memory.
  constexpr std::uint32_t GetValue() const { return m_word; }
  /// The four bytes in network order; valid while the object lives.
  const unsigned char* GetBytes() const { return reinterpret_cast<const unsigned char*>(&m_word); }

  /// Dotted decimal.
  string ToString() const;
  /// Writes `word` (as it lies in memory) in dotted decimal into `buffer`. Returns false, with
  /// `buffer` untouched, if `size` is too small; 16 bytes always suffice.
  static bool Uint32ToString(std::uint32_t word, char* buffer, std::size_t size);

 private:
  std::uint32_t m_word;
};

/// The same address.
constexpr bool operator==(const Ip4Addr& a, const Ip4Addr& b) {
  return a.GetValue() == b.GetValue();
}
/// Another address.
constexpr bool operator!=(const Ip4Addr& a, const Ip4Addr& b) { return !(a == b); }
/// The bits that are set in both.
constexpr Ip4Addr operator&(const Ip4Addr& a, const Ip4Addr& b) {
  return Ip4Addr(a.GetValue() & b.GetValue());
}

/// Reads a dotted IPv4 address: four decimal numbers of 0 to 255 and nothing else.
class TARSEL_API Parse_IpAddr {
 public:
  /// Sets `addr` and returns 1; returns 0, with `addr` untouched, for any other text and for null.
  int operator()(Ip4Addr& addr, const char* text) const;
};

/// An IPv6 address: sixteen bytes in network order.
class TARSEL_API Ip6Addr {
 public:
  /// ::
  constexpr Ip6Addr() : m_bytes{} {}
  /// From sixteen bytes in network order.
  static Ip6Addr FromBytes(const void* bytes);

  /// The sixteen bytes in network order; valid while the object lives.
  const unsigned char* GetBytes() const { return m_bytes; }

  /// Sets the value and returns true if `text` is an IPv6 address; else it returns false and
  /// changes nothing.
  bool FromString(const string& text);
  /// The shortest usual text, as in 2001:db8::1.
  string ToString() const;

 private:
  friend class Ip6Prefix;
  alignas(4) unsigned char m_bytes[16];
};

/// The same sixteen bytes.
TARSEL_API bool operator==(const Ip6Addr& a, const Ip6Addr& b);
/// Other bytes.
TARSEL_API bool operator!=(const Ip6Addr& a, const Ip6Addr& b);

/// An IPv6 prefix: an address and a length of 0 to 128.
class TARSEL_API Ip6Prefix {
 public:
  /// ::/0
  constexpr Ip6Prefix() : m_address(), m_length(0) {}
  /// Keeps the address as given, host bits included.
  Ip6Prefix(const Ip6Addr& address, unsigned int length) : m_address(address), m_length(length) {}

  /// The address as given, host bits included.
  const Ip6Addr& GetAddress() const { return m_address; }
  /// The number of leading bits, 0 to 128.
  unsigned int GetLength() const { return m_length; }

  /// Reads "address/length" with a decimal length of 0 to 128; the host bits are cleared. For any
  /// other text it returns false and changes nothing.
  bool FromString(const string& text);
  /// "address/length"
  string ToString() const;

  /// s_masks32[n] is, as it lies in memory, the big-endian word of n leading one bits (n 0 to 32).
  static const std::uint32_t s_masks32[33];

 private:
  Ip6Addr m_address;
  unsigned int m_length;
};

/// Same address bytes and same length.
TARSEL_API bool operator==(const Ip6Prefix& a, const Ip6Prefix& b);
/// Other address bytes or another length.
TARSEL_API bool operator!=(const Ip6Prefix& a, const Ip6Prefix& b);

// Well-known addresses. They are constants of the program, not objects that start-up code builds,
// so no other file's initialisation can see them unset.
/// 255.255.255.255
constexpr Ip4Addr IP4_BROADCAST(255, 255, 255, 255);
/// 224.0.0.0, where multicast begins.
constexpr Ip4Addr IP4_MULTICAST(224, 0, 0, 0);
/// 0.0.0.0, which stands for none.
constexpr Ip4Addr IP4_ANY(0, 0, 0, 0);

/// FF02::1, all nodes of the link.
TARSEL_API const Ip6Addr& Ip6AllNodes();
/// FF00::, where multicast begins.
TARSEL_API const Ip6Addr& Ip6Multicast();
/// FF00::/8
TARSEL_API const Ip6Prefix& Ip6MulticastPrefix();
/// ::/0
TARSEL_API const Ip6Prefix& Ip6DefaultPrefix();
/// FE80::/10
TARSEL_API const Ip6Prefix& Ip6LinkLocalPrefix();
/// FEC0::/10
TARSEL_API const Ip6Prefix& Ip6SiteLocalPrefix();
/// FC00::/7
TARSEL_API const Ip6Prefix& Ip6UniqueLocalPrefix();

}  // namespace Tarsel

#endif
