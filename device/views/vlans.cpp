#include "vlans.h"

#include <algorithm>

#include "vantacore/dc_router_mgr.h"

namespace views {

bool IsVlanThere(unsigned int vlan) {
  const Tarsel::DcRouterMgr* const manager = Tarsel::DcRouterMgr::GetInstance();
  return vlan <= UINT16_MAX && manager->GetVlans().count(static_cast<unsigned short>(vlan)) != 0;
}

std::optional<unsigned short> FindNextVlan(const keepers::Interfaces& interfaces,
                                           const std::optional<unsigned short>& last) {
  const auto& vlans = Tarsel::DcRouterMgr::GetInstance()->GetVlans();
  const auto& all = interfaces.Get();
  const auto vlan = last ? vlans.upper_bound(*last) : vlans.begin();
  const auto interface = last ? all.upper_bound({*last, UINT32_MAX}) : all.begin();
  if (vlan == vlans.end() || interface == all.end()) {
    return vlan != vlans.end()      ? std::optional(vlan->first)
           : interface != all.end() ? std::optional(interface->first.first)
                                    : std::nullopt;
  }
  return std::min(vlan->first, interface->first.first);
}

}  // namespace views
