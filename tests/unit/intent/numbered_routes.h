// Routes of VLAN 10 that differ in a number.
#ifndef TESTS_UNIT_INTENT_NUMBERED_ROUTES_H
#define TESTS_UNIT_INTENT_NUMBERED_ROUTES_H

#include <cstdint>

#include "device/intent/route_resolution.h"

namespace intent_test {

/// NUMBER.0.0.0/8 in a VLAN.
inline documents::RouteTarget Target(unsigned short vlan, unsigned char number) {
  documents::RouteTarget target;
  target.vlan = vlan;
  target.destination[0] = number;
  target.length = 8;
  return target;
}

inline intent::ResolvedRoute Route(unsigned char number, std::uint32_t ifIndex = 0) {
  return {Target(10, number), ifIndex};
}

}  // namespace intent_test

#endif
