// The configuration folder: device.json, vlans.json and remote/*.json.
#ifndef DEVICE_HOST_CONFIG_FOLDER_H
#define DEVICE_HOST_CONFIG_FOLDER_H

#include <memory>
#include <string>
#include <vector>

#include "device_document.h"
#include "redistribution_plan.h"
#include "report.h"
#include "route.h"
#include "tarsel/options.h"
#include "vantacore/dcl_config_object.h"
#include "vlan_document.h"

namespace host {

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

/// Reads the folder. A file that cannot be used is reported, and what was read from it before stays
/// in force: a slip of the pen must not tear down a network. The same holds for device.json and
/// vlans.json when they are missing, and for all when the folder is. A file that has gone from remote/
/// is withdrawn.
class ConfigFolder {
 public:
  ConfigFolder(std::string directory, Report report);

  void Read();

  const DeviceDocument& GetDevice() const { return m_device; }
  /// The VLAN document first, then the remote ones in the order of their names.
  const std::vector<std::shared_ptr<const ConfigFile>>& GetFiles() const { return m_files; }
  /// All routes of all documents.
  RouteSet CollectRoutes() const;

 private:
  void ReadDevice();
  void ReadConfig(const std::string& name, Tarsel::DclConfigObject::OptionType type);
  bool IsPrintable(const std::string& name) const;
  std::vector<std::string> ListRemotes();

  const std::string m_directory;
  const Report m_report;
  DeviceDocument m_device;
  std::vector<std::shared_ptr<const ConfigFile>> m_files;
  std::vector<std::shared_ptr<const ConfigFile>> m_previous;
};

}  // namespace host

#endif
