#include "vrfs.h"

#include <algorithm>

namespace kernel {

bool Vrfs::Take(std::uint32_t index, const Link* link) {
  if (link == nullptr || !link->vrfTable) {
    return m_vrfs.erase(index) != 0;
  }
  const Vrf now{link->name, *link->vrfTable};
  const auto [known, isNew] = m_vrfs.try_emplace(index, now);
  if (!isNew && known->second == now) {
    return false;
  }
  known->second = now;
  return true;
}

const Vrfs::Vrf* Vrfs::Find(std::uint32_t index) const {
  const auto found = m_vrfs.find(index);
  return found != m_vrfs.end() ? &found->second : nullptr;
}

const Vrfs::Vrf* Vrfs::Find(const std::string& name) const {
  const auto found = std::find_if(m_vrfs.begin(), m_vrfs.end(),
                                  [&name](const auto& vrf) { return vrf.second.name == name; });
  return found != m_vrfs.end() ? &found->second : nullptr;
}

}  // namespace kernel
