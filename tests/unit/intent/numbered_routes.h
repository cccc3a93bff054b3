// Routes that differ in a number.
#ifndef TESTS_UNIT_INTENT_NUMBERED_ROUTES_H
#define TESTS_UNIT_INTENT_NUMBERED_ROUTES_H

#include <cstdint>

#include "device/intent/route_resolution.h"

namespace intent_test {

/// NUMBER.0.0.0/8 in a VLAN, by way of 1.0.0.1.
inline documents::RouteTarget Target(unsigned short vlan, unsigned char number) {
  documents::RouteTarget target;
  target.vlan = vlan;
  target.destination[0] = number;
  target.length = 8;
  target.gateway = {1, 0, 0, 1};
  return target;
}

/// The same in VLAN 10.
inline intent::ResolvedRoute Route(unsigned char number, std::uint32_t ifIndex = 0,
                                   std::uint32_t metric = 1) {
  return {Target(10, number), ifIndex, metric};
}

}  // namespace intent_test

#endif
