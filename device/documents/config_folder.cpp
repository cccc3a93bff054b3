#include "config_folder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "device/program/printable.h"
#include "device_document.h"
#include "json_file.h"
#include "route_reader.h"

namespace documents {

namespace {

constexpr const char* DEVICE = "device.json";
constexpr const char* VLANS = "vlans.json";
constexpr const char* REMOTE = "remote";

bool IsDocument(const std::string& name) {
  const std::string ending = ".json";
  return name[0] != '.' && name.size() > ending.size() &&
         name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace

ConfigFolder::ConfigFolder(std::string directory, program::Report report)
    : m_directory(std::move(directory) + "/"), m_report(std::move(report)) {}

Folder ConfigFolder::Read(const Folder& before) const {
  Folder folder;
  folder.device = ReadDevice(before.device);
  ReadConfig(VLANS, Tarsel::DclConfigObject::VLAN_OPTIONS, before.files, folder.files);
  for (const std::string& name : ListRemotes(before.files)) {
    ReadConfig(name, Tarsel::DclConfigObject::REMOTE_OPTIONS, before.files, folder.files);
  }
  return folder;
}

Device ConfigFolder::ReadDevice(const Device& before) const {
  Json::Value document;
  return ReadJsonFile(m_directory + DEVICE, DEVICE, document, m_report)
             ? ReadDeviceDocument(document, DEVICE, m_report)
             : before;
}

void ConfigFolder::ReadConfig(const std::string& name, Tarsel::DclConfigObject::OptionType type,
                              const ConfigFiles& before, ConfigFiles& files) const {
  auto file = std::make_shared<ConfigFile>();
  file->name = name;
  file->type = type;
  Json::Value document;
  if (ReadJsonFile(m_directory + name, name, document, m_report) &&
      CheckVlanDocument(document, name, m_report, file->vlans)) {
    file->document = Tarsel::Options(std::move(document));
    ReadRoutes(file->document, name, file->routes, m_report);
    file->profiles = ReadProfiles(file->document, name);
    file->protocols = ReadProtocols(file->document);
    files.push_back(std::move(file));
    return;
  }
  const auto known = std::find_if(before.begin(), before.end(),
                                  [&](const auto& other) { return other->name == name; });
  if (known != before.end()) {
    files.push_back(*known);
  }
}

// The name stands in messages, the library's as well.
bool ConfigFolder::IsPrintable(const std::string& name) const {
  const std::string printable = program::Printable(name, name.size());
  if (name != printable) {
    m_report(std::string(REMOTE) + "/" + printable + ": is not printable as a name");
  }
  return name == printable;
}

// A folder remote/ that is missing means no remote documents. When the configuration folder itself is
// missing, or remote/ cannot be listed, those of the last reading stay.
std::vector<std::string> ConfigFolder::ListRemotes(const ConfigFiles& before) const {
  std::vector<std::string> names;
  std::error_code problem;
  const std::filesystem::path folder = m_directory + REMOTE;
  const auto status = std::filesystem::symlink_status(folder, problem);
  if (status.type() == std::filesystem::file_type::not_found &&
      std::filesystem::is_directory(m_directory, problem)) {
    return names;
  }
  std::filesystem::directory_iterator entry(folder, problem);
  while (!problem && entry != std::filesystem::directory_iterator()) {
    const std::string name = entry->path().filename().string();
    if (IsDocument(name) && IsPrintable(name)) {
      names.push_back(std::string(REMOTE) + "/" + name);
    }
    entry.increment(problem);
  }
  if (problem) {
    m_report(std::string(REMOTE) + ": cannot be listed: " + problem.message());
    names.clear();
    for (const auto& file : before) {
      if (file->type == Tarsel::DclConfigObject::REMOTE_OPTIONS) {
        names.push_back(file->name);
      }
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace documents
