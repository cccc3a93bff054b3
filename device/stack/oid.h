// Row identifiers: {table, key...}. An address takes one sub-identifier for each four bytes.
#ifndef DEVICE_STACK_OID_H
#define DEVICE_STACK_OID_H

#include <cstddef>

#include "protocol_rows.h"
#include "stack/sms.h"

namespace routing_stack {

constexpr std::size_t kProtocolKeyBytes = SMS_PROTOCOL_KEY_MAX;

struct Oid {
  unsigned int words[SMS_OID_MAX];
  unsigned int length = 0;

  void Add(unsigned int word) { words[length++] = word; }
  /// Four bytes a word, the last one padded with zeros; all zeros for a null pointer.
  void AddBytes(const unsigned char* bytes, std::size_t count);
};

Oid InterfaceOid(unsigned int instance, unsigned int ifIndex);
Oid AddressOid(unsigned int instance, unsigned int ifIndex, const unsigned char* address,
               int addressType);
Oid RouteOid(unsigned short instance, int addressType, const unsigned char* destination,
             unsigned int prefixLength, const unsigned char* nextHop, unsigned int ifIndex);
Oid RedistributionOid(unsigned int vlan, unsigned int source, unsigned int destination);
/// Of a key that is too long the first bytes and the length are used: such a row is never stored.
Oid ProtocolOid(unsigned int table, unsigned int instance, const unsigned char* key,
                std::size_t keyLength);
/// Only scripts use it, to name an RTM's row; nothing is answered or completed with it.
Oid RtmOid(unsigned int instance);

}  // namespace routing_stack

#endif
