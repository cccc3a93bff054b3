// The names of rows: those of requests, and their order.

#include "row_name.h"

#include <cstring>
#include <tuple>

#include "requests.h"

namespace routing_stack {

namespace {

using AddressArray = const unsigned char (&)[16];

int AddressTypeOf(Family family) { return family == Family::kIp4 ? 1 : 2; }

/// What is compared first and last; the addresses come in between.
auto Head(const RowName& name) {
  return std::tie(name.type, name.instance, name.ifIndex, name.addressType);
}
auto Tail(const RowName& name) {
  return std::tie(name.source, name.destination, name.table, name.key);
}

int Compare(AddressArray a, AddressArray b) { return std::memcmp(a, b, sizeof a); }

}  // namespace

bool operator<(const RowName& a, const RowName& b) {
  if (Head(a) != Head(b)) {
    return Head(a) < Head(b);
  }
  if (const int order = Compare(a.address, b.address)) {
    return order < 0;
  }
  if (a.prefixLength != b.prefixLength) {
    return a.prefixLength < b.prefixLength;
  }
  const int order = Compare(a.nextHop, b.nextHop);
  return order != 0 ? order < 0 : Tail(a) < Tail(b);
}

bool operator==(const RowName& a, const RowName& b) { return !(a < b) && !(b < a); }

Oid OidOf(const RowName& name) {
  switch (name.type) {
    case RowType::kRtm:
      return RtmOid(name.instance);
    case RowType::kInterface:
      return InterfaceOid(name.instance, name.ifIndex);
    case RowType::kAddress:
      return AddressOid(name.instance, name.ifIndex, name.address, name.addressType);
    case RowType::kRoute:
      return RouteOid(static_cast<unsigned short>(name.instance), name.addressType, name.address,
                      name.prefixLength, name.nextHop, name.ifIndex);
    case RowType::kRedistribution:
      return RedistributionOid(name.instance, name.source, name.destination);
    case RowType::kProtocol:
      return ProtocolOid(name.table, name.instance,
                         reinterpret_cast<const unsigned char*>(name.key.data()), name.key.size());
  }
  return {};
}

RowName RtmRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = instance;
  return row;
}

RowName InterfaceRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = key.instance;
  row.ifIndex = key.ifIndex;
  return row;
}

RowName AddressRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = key.interface.instance;
  row.ifIndex = key.interface.ifIndex;
  row.addressType = AddressTypeOf(key.family);
  key.address.ToBytes(row.address);
  return row;
}

RowName RouteRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = instance;
  row.ifIndex = ifIndex;
  row.addressType = AddressTypeOf(FamilyOf(addressType));
  std::memcpy(row.address, destination, sizeof row.address);
  row.prefixLength = prefixLength;
  std::memcpy(row.nextHop, nextHop, sizeof row.nextHop);
  return row;
}

RowName RedistributionRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = key.instance;
  row.source = key.source;
  row.destination = key.destination;
  return row;
}

RowName ProtocolRequest::GetName() const {
  RowName row;
  row.type = kType;
  row.instance = key.instance;
  row.table = key.table;
  row.key = key.key;
  return row;
}

}  // namespace routing_stack
