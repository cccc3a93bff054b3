// What is wanted of the device, as plain data.
//
// The configuration folder says what is wanted; an Intent holds all of it in one value, each part
// with its origin. The plan headers beside this one compare what is wanted with what is present and
// return what has to be done. Nothing in this folder calls the library's managers, waits, or keeps
// state: equal arguments give equal results. So all of it may run in any thread.
#ifndef DEVICE_INTENT_INTENT_H
#define DEVICE_INTENT_INTENT_H

#include "device/documents/folder.h"
#include "links.h"

namespace intent {

/// What a folder asks for. It shares the folder's files and does not change.
class Intent {
 public:
  /// Of an empty folder: a device without VLANs.
  Intent() = default;
  explicit Intent(documents::Folder folder);

  /// Interfaces and addresses, each with its origin, the primary interfaces, the default VLAN.
  const documents::Device& GetDevice() const { return m_folder.GetDevice(); }
  /// The documents for the library, in the order in which they are loaded. A document's origin is
  /// its name. The static routes are in them, see documents::MergedRoutes.
  const documents::ConfigFiles& GetDocuments() const { return m_folder.files; }
  /// The redistribution profiles, each with its origin. Only the VLAN document has them. A rule's
  /// origin is the profile of its VLAN.
  const documents::Profiles& GetProfiles() const;
  /// The VLANs that any document names.
  const documents::VlanIds& GetNamedVlans() const { return m_namedVlans; }
  const documents::Folder& GetFolder() const { return m_folder; }

  /// Returns the same with these interfaces, as events have made them. Origins stay those of the
  /// document.
  Intent WithInterfaces(documents::Interfaces interfaces) const;
  /// Returns the same with the interfaces that these links are.
  Intent WithLinks(const Links& links, unsigned short defaultVlan) const;

 private:
  documents::Folder m_folder;
  documents::VlanIds m_namedVlans;
};

}  // namespace intent

#endif
