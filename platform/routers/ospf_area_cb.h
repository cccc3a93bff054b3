// What an OSPF router keeps for each of its areas.
#ifndef ROUTERS_OSPF_AREA_CB_H
#define ROUTERS_OSPF_AREA_CB_H

#include <set>

namespace Tarsel {

/// One OSPF area of a router.
struct OspfAreaCB {
  std::set<unsigned int> interfaces;  ///< indices of the interfaces in the area
  bool active = false;                ///< the area's row exists in the stack
};

}  // namespace Tarsel

#endif
