#include "file_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <tuple>

#include "device/program/owned_descriptor.h"

namespace documents {

namespace {

constexpr std::int64_t NANOSECONDS = 1000000000;
constexpr std::int64_t SETTLED_AFTER = 2 * NANOSECONDS;

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * NANOSECONDS + time.tv_nsec;
}

FileStamp StampOf(const struct stat& status) {
  FileStamp stamp;
  stamp.device = status.st_dev;
  stamp.inode = status.st_ino;
  stamp.size = static_cast<std::uint64_t>(status.st_size);
  stamp.modified = Nanoseconds(status.st_mtim);
  stamp.changed = Nanoseconds(status.st_ctim);
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t latest = std::max(stamp.modified, stamp.changed);
  stamp.isSettled = latest + SETTLED_AFTER <= Nanoseconds(now);
  return stamp;
}

std::string Unreadable() {
  return "cannot be read, expected a readable file, found \"" + std::string(std::strerror(errno)) +
         "\"";
}

std::string KindOf(mode_t mode) {
  return S_ISDIR(mode) ? "a folder" : S_ISFIFO(mode) ? "a pipe" : "a device";
}

// The size is not trusted: a file may grow while it is read.
std::string ReadAll(int fd, std::size_t size, std::string& text) {
  text.reserve(std::min(size, MAX_FILE_BYTES) + 1);
  char buffer[65536];
  for (;;) {
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return Unreadable();
    }
    if (count == 0) {
      return {};
    }
    text.append(buffer, static_cast<std::size_t>(count));
    if (text.size() > MAX_FILE_BYTES) {
      return "too large, expected at most " + std::to_string(MAX_FILE_BYTES >> 20) +
             " MiB, found more";
    }
  }
}

}  // namespace

bool FileStamp::LooksLike(const FileStamp& other) const {
  return std::tie(device, inode, size, modified, changed) ==
         std::tie(other.device, other.inode, other.size, other.modified, other.changed);
}

std::optional<FileStamp> LookAt(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return StampOf(status);
}

FileText ReadFileText(const std::string& path) {
  FileText file;
  const program::OwnedDescriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (fd.Get() < 0 || fstat(fd.Get(), &status) != 0) {
    file.isMissing = errno == ENOENT;
    file.problem = Unreadable();
    return file;
  }
  if (!S_ISREG(status.st_mode)) {
    file.problem = "not a regular file, expected one, found " + KindOf(status.st_mode);
    return file;
  }
  file.stamp = StampOf(status);  // before reading: a change meanwhile shows in a later look
  file.problem = ReadAll(fd.Get(), static_cast<std::size_t>(status.st_size), file.text);
  file.stamp.digest = DigestOf(file.text);
  return file;
}

}  // namespace documents
