// The text of a file, and whether it may have changed since it was read.
#ifndef DEVICE_DOCUMENTS_FILE_TEXT_H
#define DEVICE_DOCUMENTS_FILE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "digest.h"

namespace documents {

constexpr std::size_t MAX_FILE_BYTES = 32u << 20;

/// What tells one content of a file from another without reading it, and with reading it.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t modified = 0;  // nanoseconds since the epoch
  std::int64_t changed = 0;   // the same, of the inode
  /// Whether the last change was at least two seconds before the file was read. Otherwise a later
  /// change may have left the times as they are.
  bool isSettled = false;
  Digest digest{};  // of the text

  /// Whether the file is the same by all that can be told without reading it.
  bool LooksLike(const FileStamp& other) const;
  /// Whether the text that was read is the same.
  bool HasTextOf(const FileStamp& other) const {
    return size == other.size && digest == other.digest;
  }
};

/// What there is to know of the file without reading it; nothing if it cannot be asked.
std::optional<FileStamp> LookAt(const std::string& path);

struct FileText {
  std::string text;
  FileStamp stamp;
  /// Why there is no text, for example "too large, expected ..."; empty if there is one.
  std::string problem;
  bool isMissing = false;
};

/// Reads a regular file of at most MAX_FILE_BYTES. Never waits: pipes and devices are refused.
FileText ReadFileText(const std::string& path);

}  // namespace documents

#endif
