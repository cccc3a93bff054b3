#include "folder_content.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "config_folder.h"
#include "folder.h"
#include "remote_listing.h"

namespace documents {

namespace {

// No document has this size, so none is taken for the problem.
FileStamp StampOf(const std::string& problem) {
  FileStamp stamp;
  stamp.size = MAX_FILE_BYTES + 1;
  stamp.digest = DigestOf(problem);
  return stamp;
}

FileStamp Read(const std::string& path, const FileStamp& looks, const FileStamp* before) {
  if (before != nullptr && before->isSettled && before->LooksLike(looks)) {
    return *before;
  }
  FileText file = ReadFileText(path);
  return file.problem.empty() ? file.stamp : StampOf(file.problem);
}

}  // namespace

bool FolderContent::LooksLike(const FolderContent& other) const {
  return std::equal(stamps.begin(), stamps.end(), other.stamps.begin(), other.stamps.end(),
                    [](const auto& one, const auto& that) {
                      return one.first == that.first && one.second.LooksLike(that.second);
                    });
}

FolderContent ReadContent(const std::string& directory, const FolderContent& before) {
  FolderContent content;
  RemoteListing listing = ListRemotes(directory);
  if (!listing.problem.empty()) {
    content.stamps["remote/"] = StampOf(listing.problem);
  }
  for (const std::string& name : listing.unprintable) {
    content.stamps[name] = StampOf("unprintable");
  }
  std::vector<std::string> names = std::move(listing.names);
  names.emplace_back(DEVICE_NAME);
  names.emplace_back(VLANS_NAME);
  for (const std::string& name : names) {
    if (const auto looks = LookAt(directory + name)) {
      const auto known = before.stamps.find(name);
      content.stamps[name] =
          Read(directory + name, *looks, known != before.stamps.end() ? &known->second : nullptr);
    }
  }
  Folder folder;
  folder.stamps = content.stamps;
  content.digest = DigestOf(folder);
  return content;
}

}  // namespace documents
