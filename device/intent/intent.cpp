#include "intent.h"

#include "device/documents/route_reader.h"

namespace intent {

documents::VlanIds Intent::NamedVlans() const {
  documents::VlanIds named;
  for (const auto& file : documents) {
    named.insert(file->vlans.begin(), file->vlans.end());
  }
  return named;
}

Intent MakeIntent(const documents::Folder& folder, const program::Report& report) {
  Intent intent;
  intent.device = folder.device;
  intent.documents = folder.files;
  for (const auto& file : folder.files) {
    documents::MergeRoutes(file->routes, intent.routes, report);
    if (file->type == Tarsel::DclConfigObject::VLAN_OPTIONS) {
      intent.profiles = file->profiles;
    }
  }
  return intent;
}

}  // namespace intent
