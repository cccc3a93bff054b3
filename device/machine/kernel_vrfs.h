// VLANs whose routes are in the table of a VRF device.
#ifndef DEVICE_MACHINE_KERNEL_VRFS_H
#define DEVICE_MACHINE_KERNEL_VRFS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "device/documents/device.h"
#include "device/keepers/interfaces.h"
#include "device/rows/comparer.h"
#include "device/views/host.h"
#include "kernel_links.h"
#include "kernel_tables.h"

namespace machine {

/// Brings together what the device document says of VRF devices and which of them are there, and
/// tells when a VLAN has lost its table or has one again. Belongs to the loop's thread.
class KernelVrfs {
 public:
  struct Hooks {
    std::function<void(const std::string& line)> log;
    /// Takes a line that somebody should look at.
    std::function<void(const std::string& line)> complain;
  };

  /// The links and the interfaces are borrowed.
  KernelVrfs(const KernelLinks& links, const keepers::Interfaces& interfaces, Hooks hooks);

  /// What the configuration in force says. The default VLAN counts once, as for the library.
  void Apply(const documents::Device& device);
  /// VRF devices have come or gone, or are known now.
  void Look();

  const KernelTables& GetTables() const { return m_tables; }
  /// Whether it is known which VRF devices there are, if it matters.
  bool AreKnown() const;
  /// Each VRF device that the document names; none while no routes are written.
  std::vector<views::VrfState> Describe() const;
  /// A line for each VLAN without a table, and for each interface whose packets the kernel looks up
  /// in another table than that of its VLAN. No verdict if the document names no VRF device for its
  /// routes.
  std::optional<rows::Verdict> Verify(std::size_t mostLines) const;

 private:
  void Resolve();
  std::string FindProblem(const std::string& name, unsigned short vlan) const;
  void Tell();
  std::vector<std::string> FindStrangers() const;

  const KernelLinks& m_links;
  const keepers::Interfaces& m_interfaces;
  const Hooks m_hooks;
  documents::KernelSettings m_settings;
  std::map<unsigned short, std::string> m_vrfs;  // of the document, by VLAN
  std::optional<unsigned short> m_defaultVlan;
  KernelTables m_tables;
  std::map<unsigned short, std::string> m_problems;  // why a VLAN has no table
  std::map<unsigned short, std::string> m_told;      // the last line about a VLAN
};

}  // namespace machine

#endif
