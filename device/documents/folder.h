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
  Routes routes;
  Profiles profiles;
  ProtocolSets protocols;  // that the document enables
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

  const Device& GetDevice() const;
};

}  // namespace documents

#endif
