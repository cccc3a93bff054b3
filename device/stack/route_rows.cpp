// Static routes. Row status 1 or 4 creates the row or overwrites its metric and admin status, 6
// removes it. A row whose admin status is down is kept and is not eligible. The path type is only
// handed back: every request of this table is for a static route.
//
// Refused for good are an unknown row status, an admin status other than up and down, a length out
// of range and a missing destination (wrong value), and host bits in the destination and a family
// other than the instance's (inconsistent). A row of an instance that does not exist may be tried
// again. A destroy is refused only if the row is not there.

#include "requests.h"
#include "vantacore/dcrouter_api.h"

namespace routing_stack {

Oid RouteRequest::GetOid() const {
  return RouteOid(instance, addressType, destination, prefixLength, nextHop, ifIndex);
}

unsigned int RouteRequest::Apply(Tables& tables) const {
  if (rowStatus == kDestroy) {
    return Destroy(tables);
  }
  const unsigned int refusal = Check();
  return refusal != kDone ? refusal : Store(tables);
}

unsigned int RouteRequest::Check() const {
  const Family family = FamilyOf(addressType);
  if (!Creates(rowStatus) || !IsAdminStatus(adminStatus) || !hasDestination ||
      prefixLength > MaximalLength(family)) {
    return kWrongValue;
  }
  const Address address = Address::FromBytes(destination, family);
  return Prefix::Of(address, prefixLength).address == address ? kDone : kInconsistent;
}

CandidateKey RouteRequest::Key() const {
  const Family family = FamilyOf(addressType);
  CandidateKey key;
  key.prefix = {Address::FromBytes(destination, family), static_cast<std::uint8_t>(prefixLength)};
  key.proto = kStatic;
  key.ifIndex = ifIndex;
  key.nextHop = Address::FromBytes(nextHop, family);
  return key;
}

unsigned int RouteRequest::Store(Tables& tables) const {
  const Instance* const found = tables.FindInstance(instance);
  if (found == nullptr) {
    return kRetry;
  }
  if (found->family != FamilyOf(addressType)) {
    return kInconsistent;
  }
  const CandidateKey key = Key();
  const unsigned int room = tables.RoomFor(kType, tables.CountStaticRoutes());
  if (room != kDone && !found->rib.Has(key)) {
    return room;
  }
  CandidateValues values;
  values.metric = metric;
  values.adminUp = adminStatus == 1;
  tables.StoreCandidate(instance, key, values);
  return kDone;
}

unsigned int RouteRequest::Destroy(Tables& tables) const {
  const Instance* const found = tables.FindInstance(instance);
  const bool canBeThere = found != nullptr && found->family == FamilyOf(addressType) &&
                          prefixLength <= MaximalLength(found->family);
  return canBeThere && tables.RemoveCandidate(instance, Key()) ? kDone : kAbsent;
}

void RouteRequest::Answer(unsigned int status) const {
  cSetRouteState(instance, addressType, destination, prefixLength, nextHop, ifIndex, metric,
                 pathType, rowStatus, adminStatus, 0, status);
}

}  // namespace routing_stack
