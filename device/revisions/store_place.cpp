#include "store_place.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "device/documents/digest.h"
#include "device/documents/file_text.h"
#include "device/program/printable.h"
#include "durable_files.h"
#include "member_reader.h"

namespace revisions {

namespace {

constexpr std::size_t READABLE_BYTES = 64;
constexpr mode_t OTHERS = S_IRWXG | S_IRWXO;

std::string SystemProblem(const std::string& path, const char* what) {
  const int problem = errno;
  return path + ": " + what + ": " + std::strerror(problem);
}

std::string ModeOf(const struct stat& found) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%04o",
                static_cast<unsigned int>(found.st_mode & ~S_IFMT));
  return text.data();
}

std::string JudgePlace(const std::string& path) {
  const std::string refused = path + ": cannot keep revisions, expected ";
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) {
    return SystemProblem(path, "cannot be used");
  }
  if (!S_ISDIR(found.st_mode)) {
    return refused + "a folder, found " + (S_ISLNK(found.st_mode) ? "a symbolic link" : "a file");
  }
  if (found.st_uid != geteuid()) {
    return refused + "a folder of user " + std::to_string(geteuid()) + ", found one of user " +
           std::to_string(found.st_uid);
  }
  if ((found.st_mode & OTHERS) != 0) {
    return refused + "a folder with the mode 0700, found " + ModeOf(found);
  }
  return {};
}

}  // namespace

// A path of which no part is there has to be made absolute first: it would stay as it is.
std::string RealPath(const std::string& directory) {
  std::error_code problem;
  const std::filesystem::path absolute = std::filesystem::absolute(directory, problem);
  std::filesystem::path path = std::filesystem::weakly_canonical(absolute, problem);
  if (problem) {
    path = absolute.lexically_normal();
  }
  return path.has_filename() || !path.has_relative_path() ? path : path.parent_path();
}

std::string StoreName(const std::string& realPath) {
  const std::string last = std::filesystem::path(realPath).filename();
  return program::Printable(last, READABLE_BYTES) + "-" + ToHex(documents::DigestOf(realPath));
}

std::string MakePlace(const std::string& path) {
  const std::string problem = MakeFolders(path);
  return problem.empty() ? JudgePlace(path) : problem;
}

// The file need not be writable: on a disk that is read-only there may be a revision to start with.
int LockPlace(const std::string& path, std::string& problem) {
  const std::string file = path + "/LOCK";
  const int lock =
      open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (lock < 0) {
    problem = SystemProblem(file, "cannot be opened");
    return lock;
  }
  if (flock(lock, LOCK_EX | LOCK_NB) != 0) {
    problem = errno == EWOULDBLOCK ? path + ": another daemon keeps its revisions there"
                                   : SystemProblem(file, "cannot be locked");
    close(lock);
    return -1;
  }
  return lock;
}

std::string ClaimPlace(const std::string& path, const std::string& realPath) {
  const std::string file = path + "/FOLDER";
  const documents::FileText noted = documents::ReadFileText(file);
  if (noted.isMissing) {
    std::string problem = WriteFile(file + ".new", realPath + "\n");
    if (problem.empty()) {
      problem = Move(file + ".new", file);
    }
    return problem.empty() ? SyncFolder(path) : problem;
  }
  if (!noted.problem.empty()) {
    return file + ": " + noted.problem;
  }
  return noted.text == realPath + "\n"
             ? std::string()
             : file + ": another folder's revisions are there, expected " +
                   program::Quote(realPath) + ", found " + program::Quote(noted.text);
}

}  // namespace revisions
