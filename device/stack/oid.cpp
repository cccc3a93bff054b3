#include "oid.h"

#include <algorithm>

#include "stack_control.h"

namespace routing_stack {

namespace {

/// The first sub-identifier.
unsigned int TableOf(RowType type) {
  switch (type) {
    case RowType::kInterface:
      return 1;
    case RowType::kAddress:
      return 2;
    case RowType::kRoute:
      return 3;
    case RowType::kRedistribution:
      return 4;
    case RowType::kProtocol:
      return 5;
    case RowType::kRtm:
      return 6;
  }
  return 0;
}

Oid Start(RowType type) {
  Oid oid;
  oid.Add(TableOf(type));
  return oid;
}

std::size_t BytesOf(int addressType) { return addressType == 1 ? 4 : 16; }
unsigned int TypeWord(int addressType) { return addressType == 1 ? 1 : 2; }

}  // namespace

void Oid::AddBytes(const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; i += 4) {
    unsigned int word = 0;
    for (std::size_t k = i; k < i + 4; ++k) {
      word = word << 8 | (bytes != nullptr && k < count ? bytes[k] : 0u);
    }
    Add(word);
  }
}

Oid InterfaceOid(unsigned int instance, unsigned int ifIndex) {
  Oid oid = Start(RowType::kInterface);
  oid.Add(instance);
  oid.Add(ifIndex);
  return oid;
}

Oid AddressOid(unsigned int instance, unsigned int ifIndex, const unsigned char* address,
               int addressType) {
  Oid oid = Start(RowType::kAddress);
  oid.Add(instance);
  oid.Add(ifIndex);
  oid.Add(TypeWord(addressType));
  oid.AddBytes(address, BytesOf(addressType));
  return oid;
}

Oid RouteOid(unsigned short instance, int addressType, const unsigned char* destination,
             unsigned int prefixLength, const unsigned char* nextHop, unsigned int ifIndex) {
  Oid oid = Start(RowType::kRoute);
  oid.Add(instance);
  oid.Add(TypeWord(addressType));
  oid.AddBytes(destination, BytesOf(addressType));
  oid.Add(prefixLength);
  oid.AddBytes(nextHop, BytesOf(addressType));
  oid.Add(ifIndex);
  return oid;
}

Oid RedistributionOid(unsigned int vlan, unsigned int source, unsigned int destination) {
  Oid oid = Start(RowType::kRedistribution);
  oid.Add(vlan);
  oid.Add(source);
  oid.Add(destination);
  return oid;
}

Oid ProtocolOid(unsigned int table, unsigned int instance, const unsigned char* key,
                std::size_t keyLength) {
  Oid oid = Start(RowType::kProtocol);
  oid.Add(table);
  oid.Add(instance);
  oid.Add(static_cast<unsigned int>(keyLength));
  oid.AddBytes(key, std::min(keyLength, kProtocolKeyBytes));
  return oid;
}

Oid RtmOid(unsigned int instance) {
  Oid oid = Start(RowType::kRtm);
  oid.Add(instance);
  return oid;
}

}  // namespace routing_stack
