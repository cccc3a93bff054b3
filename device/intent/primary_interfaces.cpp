#include "primary_interfaces.h"

namespace intent {

namespace {

std::string FirstWithIp4(const documents::Interfaces& interfaces, unsigned short vlan) {
  const auto end = interfaces.end();
  for (auto i = interfaces.lower_bound({vlan, 0}); i != end && i->first.first == vlan; ++i) {
    if (i->second.ip4) {
      return i->second.name;
    }
  }
  return "lo";
}

}  // namespace

Primaries ChoosePrimaries(const documents::Device& device, const std::set<unsigned short>& vlans) {
  Primaries primaries = device.primaries;
  for (const unsigned short vlan : vlans) {
    if (primaries.count(vlan) == 0) {
      primaries.emplace(vlan, FirstWithIp4(device.interfaces, vlan));
    }
  }
  return primaries;
}

}  // namespace intent
