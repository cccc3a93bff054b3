// The VRF devices among the machine's links.
#ifndef DEVICE_KERNEL_VRFS_H
#define DEVICE_KERNEL_VRFS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "link.h"

namespace kernel {

/// Knows of the VRF devices what links have told: their names and tables. Plain data of whoever
/// feeds it.
class Vrfs {
 public:
  struct Vrf {
    std::string name;
    std::uint32_t table = 0;  // 0 if it is not known

    friend bool operator==(const Vrf& a, const Vrf& b) {
      return a.name == b.name && a.table == b.table;
    }
  };

  /// What the link of this index has become; null for one that has gone. Returns whether a VRF
  /// device has come or gone, or has another name or table.
  bool Take(std::uint32_t index, const Link* link);
  void Clear() { m_vrfs.clear(); }

  /// The VRF device of this index; null if that link is none. Valid until the next change.
  const Vrf* Find(std::uint32_t index) const;
  /// The one of this name, as above. A name is one link's only.
  const Vrf* Find(const std::string& name) const;

 private:
  std::map<std::uint32_t, Vrf> m_vrfs;  // by index; a machine has few
};

}  // namespace kernel

#endif
