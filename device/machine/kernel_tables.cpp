#include "kernel_tables.h"

#include "device/kernel/route.h"

namespace machine {

namespace {

constexpr std::uint32_t HIGHEST_VLAN = 32767;

}  // namespace

std::optional<std::uint32_t> KernelTables::Of(std::uint32_t vlan) const {
  const auto vrf = m_vrfs.find(static_cast<unsigned short>(vlan));
  if (vrf != m_vrfs.end()) {
    return vrf->second;
  }
  return vlan == m_defaultVlan ? kernel::MAIN_TABLE : m_tableBase + vlan;
}

std::optional<unsigned short> KernelTables::FindOwner(std::uint32_t table) const {
  for (const auto& [vlan, own] : m_vrfs) {
    if (own == table) {
      return vlan;
    }
  }
  const std::uint32_t vlan = table == kernel::MAIN_TABLE ? m_defaultVlan : table - m_tableBase;
  const bool isOwner = vlan <= HIGHEST_VLAN && !HasVrf(vlan) && Of(vlan) == table;
  return isOwner ? std::optional(static_cast<unsigned short>(vlan)) : std::nullopt;
}

bool KernelTables::HasVrf(std::uint32_t vlan) const {
  return m_vrfs.count(static_cast<unsigned short>(vlan)) != 0;
}

bool KernelTables::HasKernelsNetworks(std::uint32_t vlan) const {
  return HasVrf(vlan) || vlan == m_defaultVlan;
}

}  // namespace machine
