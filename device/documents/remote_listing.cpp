#include "remote_listing.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "device/program/printable.h"

namespace documents {

namespace {

bool IsDocument(const std::string& name) {
  const std::string ending = ".json";
  return name[0] != '.' && name.size() > ending.size() &&
         name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace

RemoteListing ListRemotes(const std::string& directory) {
  RemoteListing listing;
  std::error_code problem;
  const std::filesystem::path folder = directory + REMOTE_NAME;
  const auto status = std::filesystem::symlink_status(folder, problem);
  if (status.type() == std::filesystem::file_type::not_found &&
      std::filesystem::is_directory(directory, problem)) {
    return listing;
  }
  std::filesystem::directory_iterator entry(folder, problem);
  while (!problem && entry != std::filesystem::directory_iterator()) {
    const std::string name = entry->path().filename().string();
    const std::string printable = program::Printable(name, name.size());
    if (IsDocument(name)) {
      auto& names = name == printable ? listing.names : listing.unprintable;
      names.push_back(std::string(REMOTE_NAME) + "/" + printable);
    }
    entry.increment(problem);
  }
  if (problem) {
    listing = {{}, {}, problem.message()};
  }
  std::sort(listing.names.begin(), listing.names.end());
  std::sort(listing.unprintable.begin(), listing.unprintable.end());
  return listing;
}

}  // namespace documents
