#include "seen_files.h"

namespace documents {

namespace {

// As many as a folder may have. Names come and go, so what was seen before is forgotten then.
constexpr std::size_t MOST_FILES = 4096;

}  // namespace

bool SeenFiles::HasTextOf(const std::string& path, const FileStamp& stamp) {
  const auto now = LookAt(path);
  if (!now) {
    return false;
  }
  if (stamp.isSettled && stamp.LooksLike(*now)) {
    return true;
  }
  if (const auto seen = FindSeen(path, *now)) {
    return stamp.HasTextOf(*seen);
  }
  const FileText file = ReadFileText(path);
  if (!file.problem.empty()) {
    return false;
  }
  Keep(path, file.stamp);
  return stamp.HasTextOf(file.stamp);
}

// One that was read too soon after its last change may have changed since and look the same.
std::optional<FileStamp> SeenFiles::FindSeen(const std::string& path, const FileStamp& looks) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto seen = m_stamps.find(path);
  return seen != m_stamps.end() && seen->second.isSettled && seen->second.LooksLike(looks)
             ? std::optional(seen->second)
             : std::nullopt;
}

void SeenFiles::Keep(const std::string& path, const FileStamp& stamp) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (m_stamps.size() == MOST_FILES && m_stamps.count(path) == 0) {
    m_stamps.clear();
  }
  m_stamps[path] = stamp;
}

}  // namespace documents
