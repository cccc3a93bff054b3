#include "config_folder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "device/program/printable.h"
#include "json_file.h"
#include "route_reader.h"

namespace host {

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

ConfigFolder::ConfigFolder(std::string directory, Report report)
    : m_directory(std::move(directory) + "/"), m_report(std::move(report)) {}

void ConfigFolder::Read() {
  m_previous = std::exchange(m_files, {});
  ReadDevice();
  ReadConfig(VLANS, Tarsel::DclConfigObject::VLAN_OPTIONS);
  for (const std::string& name : ListRemotes()) {
    ReadConfig(name, Tarsel::DclConfigObject::REMOTE_OPTIONS);
  }
  m_previous.clear();
}

void ConfigFolder::ReadDevice() {
  Json::Value document;
  if (ReadJsonFile(m_directory + DEVICE, DEVICE, document, m_report)) {
    m_device = ReadDeviceDocument(document, DEVICE, m_report);
  }
}

void ConfigFolder::ReadConfig(const std::string& name, Tarsel::DclConfigObject::OptionType type) {
  auto file = std::make_shared<ConfigFile>();
  file->name = name;
  file->type = type;
  Json::Value document;
  if (ReadJsonFile(m_directory + name, name, document, m_report) &&
      CheckVlanDocument(document, name, m_report, file->vlans)) {
    file->document = Tarsel::Options(std::move(document));
    ReadRoutes(file->document, name, file->routes, m_report);
    file->profiles = ReadProfiles(file->document);
    file->protocols = ReadProtocols(file->document);
    m_files.push_back(std::move(file));
    return;
  }
  const auto before = std::find_if(m_previous.begin(), m_previous.end(),
                                   [&](const auto& other) { return other->name == name; });
  if (before != m_previous.end()) {
    m_files.push_back(*before);
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
std::vector<std::string> ConfigFolder::ListRemotes() {
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
    for (const auto& file : m_previous) {
      if (file->type == Tarsel::DclConfigObject::REMOTE_OPTIONS) {
        names.push_back(file->name);
      }
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

RouteSet ConfigFolder::CollectRoutes() const {
  RouteSet routes;
  for (const auto& file : m_files) {
    MergeRoutes(file->routes, routes, m_report);
  }
  return routes;
}

}  // namespace host
