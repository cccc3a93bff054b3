// What is wanted of the device, as plain data.
//
// The configuration folder says what is wanted; an Intent holds all of it in one value, each part
// with its origin. The plan headers beside this one compare what is wanted with what is present and
// return what has to be done. Nothing in this folder calls the library's managers, waits, or keeps
// state: equal arguments give equal results.
#ifndef DEVICE_INTENT_INTENT_H
#define DEVICE_INTENT_INTENT_H

#include "device/documents/config_folder.h"
#include "device/program/report.h"

namespace intent {

struct Intent {
  /// Interfaces and addresses, each with its origin, the primary interfaces, the default VLAN.
  documents::Device device;
  /// The documents for the library, in the order in which they are loaded. A document's origin is
  /// its name.
  documents::ConfigFiles documents;
  /// The static routes of all documents, each with its origin.
  documents::RouteSet routes;
  /// The redistribution profiles, each with its origin. Only the VLAN document has them. A rule's
  /// origin is the profile of its VLAN.
  documents::Profiles profiles;

  /// The VLANs that any document names.
  documents::VlanIds NamedVlans() const;
};

/// Returns what a folder asks for. If documents give one route several metrics, that of the first
/// document by name is kept; the others are reported.
Intent MakeIntent(const documents::Folder& folder, const program::Report& report);

}  // namespace intent

#endif
