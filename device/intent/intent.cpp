#include "intent.h"

#include <utility>

namespace intent {

Intent::Intent(documents::Folder folder) : m_folder(std::move(folder)) {
  for (const auto& file : m_folder.files) {
    m_namedVlans.insert(file->vlans.begin(), file->vlans.end());
  }
}

Intent Intent::WithInterfaces(documents::Interfaces interfaces) const {
  const auto file = std::make_shared<documents::DeviceFile>();
  file->device = GetDevice();
  file->device.interfaces = std::move(interfaces);
  Intent other = *this;
  other.m_folder.deviceFile = file;
  return other;
}

Intent Intent::WithLinks(const Links& links, unsigned short defaultVlan) const {
  documents::Interfaces interfaces = GetDevice().interfaces;
  AddLinks(GetDevice().links, defaultVlan, links, interfaces);
  return WithInterfaces(std::move(interfaces));
}

const documents::Profiles& Intent::GetProfiles() const {
  static const documents::Profiles NONE;
  for (const auto& file : m_folder.files) {
    if (file->type == Tarsel::DclConfigObject::VLAN_OPTIONS) {
      return file->profiles;
    }
  }
  return NONE;
}

}  // namespace intent
