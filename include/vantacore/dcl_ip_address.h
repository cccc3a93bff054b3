// An IPv4 or IPv6 address tagged with its length.
#ifndef VANTACORE_DCL_IP_ADDRESS_H
#define VANTACORE_DCL_IP_ADDRESS_H

#include "tarsel/address.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Sixteen bytes of which the first `length` count: 4 for IPv4, 16 for IPv6. A plain value.
class VANTACORE_API DclIpAddress {
 public:
  /// The same as Init(bytes, length).
  DclIpAddress(const unsigned char* bytes, unsigned int length);
  /// A copy.
  DclIpAddress(const DclIpAddress& other);
  virtual ~DclIpAddress();
  /// Copies length and bytes.
  DclIpAddress& operator=(const DclIpAddress& other);

  /// Copies at most 16 of `length` bytes, clears the rest and stores the length unchanged. If
  /// `bytes` is null, all sixteen bytes become zero.
  void Init(const unsigned char* bytes, unsigned int length);
  /// False, and nothing changed, for a text that is not an IPv4 address and for null.
  bool Ip4AddrFromString(const char* text);
  /// The same for an IPv6 text.
  bool Ip6AddrFromString(const char* text);
  /// Same length and same bytes within it.
  bool operator==(const DclIpAddress& other) const;
  /// Whether the length is 4 and the bytes are the address.
  bool operator==(const Ip4Addr& other) const;
  /// The first four bytes, whatever the length.
  Ip4Addr ToIp4Addr() const;
  /// All sixteen bytes, whatever the length.
  Ip6Addr ToIp6Addr() const;
  /// Dotted decimal up to length 4, IPv6 text up to 16, the empty text beyond.
  string ToString() const;

  /// The length as stored; more than 16 when Init was given more.
  unsigned int GetLength() const { return m_length; }
  /// Sixteen bytes; valid while the object lives.
  const unsigned char* GetBytes() const { return m_bytes; }

 private:
  unsigned int m_length;
  unsigned char m_bytes[16];
};

}  // namespace Tarsel

#endif
