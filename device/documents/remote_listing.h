// Which remote documents a configuration folder has.
#ifndef DEVICE_DOCUMENTS_REMOTE_LISTING_H
#define DEVICE_DOCUMENTS_REMOTE_LISTING_H

#include <string>
#include <vector>

namespace documents {

/// The folder of the remote documents, in the configuration folder.
constexpr const char* REMOTE_NAME = "remote";

/// The names relative to the folder, "remote/one.json", in their order. Files that do not end with
/// ".json", or begin with a dot, are not documents.
struct RemoteListing {
  std::vector<std::string> names;
  /// Names that cannot be printed, made printable. They would stand in messages, the library's as
  /// well.
  std::vector<std::string> unprintable;
  /// Why remote/ cannot be listed; empty if it can, or if the folder has none.
  std::string problem;

  friend bool operator==(const RemoteListing& a, const RemoteListing& b) {
    return a.names == b.names && a.unprintable == b.unprintable && a.problem == b.problem;
  }
};

/// Lists remote/ of `directory`, which ends with a slash. A folder remote/ that is missing means no
/// remote documents, unless the configuration folder itself is missing.
RemoteListing ListRemotes(const std::string& directory);

}  // namespace documents

#endif
