// What the configuration folder says, as plain data.
#ifndef DEVICE_DOCUMENTS_FOLDER_H
#define DEVICE_DOCUMENTS_FOLDER_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "device.h"
#include "file_text.h"
#include "findings.h"
#include "members.h"
#include "route.h"
#include "tarsel/options.h"
#include "vantacore/dcl_config_object.h"
#include "vlan_settings.h"

namespace documents {

/// device.json as it was last read.
struct DeviceFile {
  Device device;
  Findings findings;
};

/// vlans.json or a remote document as it was last read.
struct ConfigFile {
  std::string name;  // relative to the folder: what the library knows the document as
  Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS;
  /// What the library and the protocol routers read: the document without its routes.
  Tarsel::Options document;
  VlanIds vlans;
  std::map<unsigned short, Place> entries;  // where each VLAN's entry is
  /// Of each entry's text. Unless one of the files has errors, entries with the same digest say the
  /// same. Others may, too: a digest goes on to where the next entry begins.
  std::map<unsigned short, Digest> digests;
  Routes routes;
  Profiles profiles;
  /// Of the VLAN document the protocols that it enables. Of a remote document those that it has
  /// members for: it can enable none, and has rows for one that it does not enable as well.
  ProtocolSets protocols;
  InterfaceRows interfaceRows;
  Findings findings;
};

/// The VLAN document first, then the remote ones in the order of their names.
using ConfigFiles = std::vector<std::shared_ptr<const ConfigFile>>;

/// What a folder says. Files are shared with later folders in which they have not changed.
struct Folder {
  /// Null if there is no device.json; then the device is a default one.
  std::shared_ptr<const DeviceFile> deviceFile;
  ConfigFiles files;
  /// By which a later reading tells that a file has not changed, by file name. A file that could not
  /// be used has none.
  std::map<std::string, FileStamp> stamps;
  /// Files that are there and hold no document.
  std::set<std::string> unreadable;
  /// What no single file could tell.
  Findings together;
  /// By which the files were read. The declarations are borrowed.
  Protocols declared{nullptr, 0};

  const Device& GetDevice() const;
};

/// A digest of all files that the folder's stamps name: of their names, sizes and texts. Folders
/// with the same digest hold the same documents, wherever they are and whenever they were written. A
/// file that could not be used has no stamp and is not in it, so it does not tell folders with errors
/// apart.
Digest DigestOf(const Folder& folder);

}  // namespace documents

#endif
