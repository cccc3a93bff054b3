// The configuration folder: device.json, vlans.json and remote/*.json.
#ifndef DEVICE_DOCUMENTS_CONFIG_FOLDER_H
#define DEVICE_DOCUMENTS_CONFIG_FOLDER_H

#include <memory>
#include <string>
#include <vector>

#include "device.h"
#include "device/program/report.h"
#include "redistribution_reader.h"
#include "route.h"
#include "tarsel/options.h"
#include "vantacore/dcl_config_object.h"
#include "vlan_document.h"

namespace documents {

/// One configuration document as it was last read.
struct ConfigFile {
  std::string name;  // relative to the folder: what the library knows the document as
  Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS;
  Tarsel::Options document;
  VlanIds vlans;
  RouteSet routes;
  Profiles profiles;
  ProtocolSets protocols;
};

/// The VLAN document first, then the remote ones in the order of their names.
using ConfigFiles = std::vector<std::shared_ptr<const ConfigFile>>;

/// The result of one reading of the folder.
struct Folder {
  Device device;
  ConfigFiles files;
};

/// Reads the folder. It keeps nothing of what it has read.
class ConfigFolder {
 public:
  /// `report` is called for every file and member that cannot be used.
  ConfigFolder(std::string directory, program::Report report);

  /// Returns what the folder says now. A file that cannot be used is reported, and the result keeps
  /// what `before` has of it: a slip of the pen must not tear down a network. The same holds for
  /// device.json and vlans.json if they are missing, and for every file if the folder is missing. A
  /// file that is no longer in remote/ is not in the result.
  Folder Read(const Folder& before) const;

 private:
  Device ReadDevice(const Device& before) const;
  void ReadConfig(const std::string& name, Tarsel::DclConfigObject::OptionType type,
                  const ConfigFiles& before, ConfigFiles& files) const;
  bool IsPrintable(const std::string& name) const;
  std::vector<std::string> ListRemotes(const ConfigFiles& before) const;

  const std::string m_directory;
  const program::Report m_report;
};

}  // namespace documents

#endif
