// Static routes of the other components: one call of the RTM manager each.
#include "vantacore/static_routes.h"

#include "src/values/mask.h"
#include "src/values/row_codes.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

// What a request carries beside the route's name. Metric and type are 0 unless a route is added.
struct Change {
  unsigned int rowStatus;
  unsigned int adminStatus;
  unsigned short metric = 0;
  int type = 0;
};

constexpr Change REMOVE{ROW_DESTROY, ADMIN_DOWN};
constexpr Change ENABLE{ROW_ACTIVE, ADMIN_UP};
constexpr Change DISABLE{ROW_ACTIVE, ADMIN_DOWN};

Change Addition(unsigned int metric, long type, long adminStatus) {
  return Change{ROW_ACTIVE, static_cast<unsigned int>(adminStatus),
                static_cast<unsigned short>(metric), static_cast<int>(type)};
}

template <class Address>
void Update(unsigned short vlan, const Address& destination, unsigned int length,
            const Address& gateway, unsigned int ifIndex, const Change& change) {
  DcRtmMgr* manager = DcRtmMgr::GetInstance();
  if (manager != nullptr) {
    manager->UpdateStaticRoute(vlan, destination, static_cast<int>(length), gateway, ifIndex,
                               change.metric, change.type, change.rowStatus, change.adminStatus);
  }
}

void Update(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
            const Ip4Addr& gateway, unsigned int ifIndex, const Change& change) {
  Update(vlan, destination, CountBits(mask), gateway, ifIndex, change);
}

}  // namespace

int AddRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
             const Ip4Addr& gateway, unsigned int ifIndex, unsigned int metric, long type,
             long adminStatus) {
  Update(vlan, destination, mask, gateway, ifIndex, Addition(metric, type, adminStatus));
  return 1;
}

int AddRoute(unsigned short vlan, const Ip6Addr&, const Ip6Prefix& prefix, const Ip6Addr& gateway,
             unsigned int ifIndex, unsigned int metric, long type, long adminStatus) {
  Update(vlan, prefix.GetAddress(), prefix.GetLength(), gateway, ifIndex,
         Addition(metric, type, adminStatus));
  return 1;
}

void RemoveRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                 const Ip4Addr& gateway, unsigned int ifIndex) {
  Update(vlan, destination, mask, gateway, ifIndex, REMOVE);
}

void RemoveRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                 const Ip6Addr& gateway, unsigned int ifIndex) {
  Update(vlan, address, prefix.GetLength(), gateway, ifIndex, REMOVE);
}

void EnableRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                 const Ip4Addr& gateway, unsigned int ifIndex) {
  Update(vlan, destination, mask, gateway, ifIndex, ENABLE);
}

void EnableRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                 const Ip6Addr& gateway, unsigned int ifIndex) {
  Update(vlan, address, prefix.GetLength(), gateway, ifIndex, ENABLE);
}

void DisableRoute(unsigned short vlan, const Ip4Addr& destination, const Ip4Addr& mask,
                  const Ip4Addr& gateway, unsigned int ifIndex) {
  Update(vlan, destination, mask, gateway, ifIndex, DISABLE);
}

void DisableRoute(unsigned short vlan, const Ip6Addr& address, const Ip6Prefix& prefix,
                  const Ip6Addr& gateway, unsigned int ifIndex) {
  Update(vlan, address, prefix.GetLength(), gateway, ifIndex, DISABLE);
}

}  // namespace Tarsel
