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
  DclIpAddress(const unsigned char* bytes, unsigned int length);
  DclIpAddress(const DclIpAddress& other);
  virtual ~DclIpAddress();
  DclIpAddress& operator=(const DclIpAddress& other);

  /// Copies at most 16 of `length` bytes, clears the rest and stores the length as it is.
  void Init(const unsigned char* bytes, unsigned int length);
  /// False, and nothing changed, when the text is no such address.
  bool Ip4AddrFromString(const char* text);
  bool Ip6AddrFromString(const char* text);
  bool operator==(const DclIpAddress& other) const;
  bool operator==(const Ip4Addr& other) const;
  Ip4Addr ToIp4Addr() const;
  Ip6Addr ToIp6Addr() const;
  /// Dotted decimal up to length 4, IPv6 text up to 16, the empty text beyond.
  string ToString() const;

  unsigned int GetLength() const { return m_length; }
  const unsigned char* GetBytes() const { return m_bytes; }

 private:
  unsigned int m_length;
  unsigned char m_bytes[16];
};

}  // namespace Tarsel

#endif
