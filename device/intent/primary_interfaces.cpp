#include "primary_interfaces.h"

namespace intent {

std::string ChoosePrimary(const Primaries& named, const documents::Interfaces& interfaces,
                          unsigned short vlan) {
  const auto name = named.find(vlan);
  if (name != named.end()) {
    return name->second;
  }
  const auto end = interfaces.end();
  for (auto i = interfaces.lower_bound({vlan, 0}); i != end && i->first.first == vlan; ++i) {
    if (!i->second.ip4.empty()) {
      return i->second.name;
    }
  }
  return "lo";
}

Primaries ChoosePrimaries(const Primaries& named, const documents::Interfaces& interfaces,
                          const std::set<unsigned short>& vlans) {
  Primaries primaries = named;
  for (const unsigned short vlan : vlans) {
    primaries.emplace(vlan, ChoosePrimary(named, interfaces, vlan));
  }
  return primaries;
}

}  // namespace intent
