// Interface addresses. Row status 1 or 4 creates the row or overwrites its prefix length, 6 removes
// it; any other changes nothing. The request of an IPv4 address names the VLAN, that of an IPv6
// address the IPv6 instance; both are the number of the instance in which the address takes effect.
//
// An address without bits, one whose length is out of range and one of the other family than its
// instance are stored and shown, but connect nothing.

#include "requests.h"

namespace routing_stack {

Oid AddressRequest::GetOid() const {
  unsigned char bytes[16];
  key.address.ToBytes(bytes);
  return AddressOid(key.interface.instance, key.interface.ifIndex, bytes, addressType);
}

unsigned int AddressRequest::Apply(Tables& tables) const {
  const auto row = tables.addresses.find(key);
  const bool isThere = row != tables.addresses.end();
  if (rowStatus == kDestroy) {
    if (!isThere) {
      return kAbsent;
    }
    tables.DetachAddress(key);
    tables.addresses.erase(row);
    return kDone;
  }
  if (!Creates(rowStatus)) {
    return kWrongValue;
  }
  if (isThere && row->second.prefixLength == prefixLength) {
    return kDone;
  }
  const unsigned int room =
      isThere ? static_cast<unsigned int>(kDone) : tables.RoomFor(kType, tables.addresses.size());
  if (room != kDone) {
    return room;
  }
  tables.DetachAddress(key);
  tables.addresses[key].prefixLength = prefixLength;
  tables.AddressStored(key);
  return kDone;
}

}  // namespace routing_stack
