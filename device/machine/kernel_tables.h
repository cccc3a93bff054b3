// Which table of the kernel the routes of a VLAN stand in.
#ifndef DEVICE_MACHINE_KERNEL_TABLES_H
#define DEVICE_MACHINE_KERNEL_TABLES_H

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace machine {

/// Plain data.
class KernelTables {
 public:
  /// By VLAN, the tables of those that have a VRF device; nothing while that is not there.
  using VrfTables = std::map<unsigned short, std::optional<std::uint32_t>>;

  KernelTables() = default;
  KernelTables(unsigned short defaultVlan, std::uint32_t tableBase, VrfTables vrfs)
      : m_defaultVlan(defaultVlan), m_tableBase(tableBase), m_vrfs(std::move(vrfs)) {}

  /// That of the VRF device, else the main one for the default VLAN, else the base plus the VLAN's id.
  /// Nothing while there is no table for it, so that its routes are nowhere.
  std::optional<std::uint32_t> Of(std::uint32_t vlan) const;
  /// Whose table it is; nothing if it is no VLAN's.
  std::optional<unsigned short> FindOwner(std::uint32_t table) const;
  bool HasVrf(std::uint32_t vlan) const;
  /// Whether the kernel puts the networks of the VLAN's addresses into the VLAN's table itself.
  bool HasKernelsNetworks(std::uint32_t vlan) const;
  /// Whether packets come into the VLAN's table by rules only.
  bool NeedsRules(std::uint32_t vlan) const { return !HasKernelsNetworks(vlan); }

  unsigned short GetDefaultVlan() const { return m_defaultVlan; }
  std::uint32_t GetTableBase() const { return m_tableBase; }
  const VrfTables& GetVrfTables() const { return m_vrfs; }

 private:
  unsigned short m_defaultVlan = 0;
  std::uint32_t m_tableBase = 0;
  VrfTables m_vrfs;
};

}  // namespace machine

#endif
