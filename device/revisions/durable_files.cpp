#include "durable_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "device/program/owned_descriptor.h"

namespace revisions {

namespace {

constexpr mode_t OWN_FOLDER = S_IRWXU;
constexpr mode_t OWN_FILE = S_IRUSR | S_IWUSR;

std::string Problem(const std::string& path, const char* what) {
  const int problem = errno;
  return path + ": " + what + ": " + std::strerror(problem);
}

bool WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(fd, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string MakeFolder(const std::string& path) {
  return mkdir(path.c_str(), OWN_FOLDER) == 0 || errno == EEXIST ? std::string()
                                                                 : Problem(path, "cannot be made");
}

std::string MakeFolders(const std::string& path) {
  if (mkdir(path.c_str(), OWN_FOLDER) != 0) {
    if (errno == EEXIST) {
      return {};
    }
    const std::string parent = std::filesystem::path(path).parent_path();
    if (errno != ENOENT || parent == path) {
      return Problem(path, "cannot be made");
    }
    std::string problem = MakeFolders(parent);
    if (problem.empty()) {
      problem = MakeFolder(path);
    }
    if (!problem.empty()) {
      return problem;
    }
  }
  return SyncFolder(std::filesystem::path(path).parent_path());
}

// A file that is there may have other names, under which it has to stay as it is.
std::string WriteFile(const std::string& path, const std::string& text) {
  unlink(path.c_str());
  const program::OwnedDescriptor fd(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OWN_FILE));
  if (fd.Get() < 0 || !WriteAll(fd.Get(), text) || fsync(fd.Get()) != 0) {
    return Problem(path, "cannot be written");
  }
  return {};
}

std::string Move(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0 ? std::string()
                                                    : Problem(to, "cannot be written");
}

std::string SyncFolder(const std::string& path) {
  const program::OwnedDescriptor fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd.Get() >= 0 && fsync(fd.Get()) == 0 ? std::string() : Problem(path, "cannot be written");
}

std::string Remove(const std::string& path) {
  std::error_code problem;
  std::filesystem::remove_all(path, problem);
  return problem ? path + ": cannot be removed: " + problem.message() : std::string();
}

}  // namespace revisions
