// What the files of a configuration folder hold, without reading them as documents.
#ifndef DEVICE_DOCUMENTS_FOLDER_CONTENT_H
#define DEVICE_DOCUMENTS_FOLDER_CONTENT_H

#include <map>
#include <string>

#include "digest.h"
#include "file_text.h"

namespace documents {

/// Tells one content of a folder from another, whether it can be used or not.
struct FolderContent {
  /// By the names of documents. One that cannot be read has its problem for a text.
  std::map<std::string, FileStamp> stamps;
  /// Of all of them. If each document can be used it is that of the folder (DigestOf).
  Digest digest{};

  /// Whether each document is the same by all that can be told without reading it.
  bool LooksLike(const FolderContent& other) const;
};

/// Looks at the documents of the folder, which ends with a slash. A file that looks as it did in
/// `before` is not read. For any thread.
FolderContent ReadContent(const std::string& directory, const FolderContent& before = {});

}  // namespace documents

#endif
