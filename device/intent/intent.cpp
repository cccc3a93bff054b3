#include "intent.h"

#include <utility>

namespace intent {

Intent::Intent(documents::Folder folder) : m_folder(std::move(folder)) {
  for (const auto& file : m_folder.files) {
    m_namedVlans.insert(file->vlans.begin(), file->vlans.end());
  }
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
