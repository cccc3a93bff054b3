// The files that were read to find out whether they differ from what is known.
#ifndef DEVICE_DOCUMENTS_SEEN_FILES_H
#define DEVICE_DOCUMENTS_SEEN_FILES_H

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "file_text.h"

namespace documents {

/// Keeps their stamps, so that a file about which somebody asks again and again is read once as
/// long as it looks the same. May be used by any number of threads at a time.
class SeenFiles {
 public:
  /// Whether the file has the text that the stamp is of; false if it cannot be read. It is read
  /// only if its looks cannot tell.
  bool HasTextOf(const std::string& path, const FileStamp& stamp);

 private:
  std::optional<FileStamp> FindSeen(const std::string& path, const FileStamp& looks);
  void Keep(const std::string& path, const FileStamp& stamp);

  std::mutex m_mutex;
  std::map<std::string, FileStamp> m_stamps;  // by path, at most MOST_FILES
};

}  // namespace documents

#endif
