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
  if (rowStatus == kDestroy) {
    return tables.RemoveAddress(key) ? kDone : kAbsent;
  }
  if (!Creates(rowStatus)) {
    return kWrongValue;
  }
  const auto row = tables.Addresses().find(key);
  const bool isThere = row != tables.Addresses().end();
  if (isThere && row->second.prefixLength == prefixLength) {
    return kDone;
  }
  const unsigned int room =
      isThere ? static_cast<unsigned int>(kDone) : tables.RoomFor(kType, tables.Addresses().size());
  if (room == kDone) {
    tables.StoreAddress(key, prefixLength);
  }
  return room;
}

}  // namespace routing_stack
