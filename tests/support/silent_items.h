// Requests that go nowhere, numbered: for measuring the scheduler and the serializer by themselves.
#ifndef TESTS_SUPPORT_SILENT_ITEMS_H
#define TESTS_SUPPORT_SILENT_ITEMS_H

#include "stack/sms.h"
#include "tarsel/address.h"
#include "vantacore/cfg_items.h"
#include "vantacore/mib_action.h"

namespace test_support {

inline Tarsel::Ip4Addr SilentDestination(unsigned int n) {
  return Tarsel::Ip4Addr(20 + (n >> 24), (n >> 16) & 0xFF, (n >> 8) & 0xFF, n & 0xFF);
}

/// A route of VLAN 10 that is issued without a request being made.
class SilentRoute : public Tarsel::StaticRouteItem {
 public:
  explicit SilentRoute(unsigned int number)
      : StaticRouteItem(10, 1, 1, 1, SilentDestination(number).GetBytes(), 32,
                        Tarsel::Ip4Addr(10, 1, 2, 1).GetBytes(), 3, 5, Tarsel::PATH_TYPE_STATIC,
                        0) {}
  void Send() override { SetActionState(ISSUED); }
};

class SilentAction : public Tarsel::MibAction {
 public:
  void IssueReq(bool) override {}
};

/// The identifier of the row of SilentRoute(number).
inline Tarsel::MibOid RowOid(unsigned int number) {
  unsigned int subIds[SMS_OID_MAX];
  const unsigned int count = sms_get_route_oid(subIds, 10, 1, SilentDestination(number).GetBytes(),
                                               32, Tarsel::Ip4Addr(10, 1, 2, 1).GetBytes(), 3);
  return Tarsel::MibOid(subIds, count);
}

}  // namespace test_support

#endif
