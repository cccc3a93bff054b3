#include "signs.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <memory>

namespace system_test {

namespace {

constexpr std::chrono::seconds PATIENCE(30);
constexpr unsigned LOOK_MICROSECONDS = 2000;

std::string FolderOf(pid_t process) { return "/proc/" + std::to_string(process) + "/"; }

// The value of one line of the process's status; empty if there is no such process.
std::string StatusOf(pid_t process, const std::string& name) {
  std::ifstream status(FolderOf(process) + "status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, name.size() + 1, name + ":") == 0) {
      const std::size_t value = line.find_first_not_of(" \t", name.size() + 1);
      return value == std::string::npos ? "" : line.substr(value);
    }
  }
  return {};
}

// Whether the set of signals, in hexadecimal digits, has this one.
bool Contains(const std::string& signals, int number) {
  return !signals.empty() && (std::stoull(signals, nullptr, 16) >> (number - 1) & 1) != 0;
}

}  // namespace

bool Await(const std::string& what, const std::function<bool()>& sign) {
  const auto end = std::chrono::steady_clock::now() + PATIENCE;
  while (!sign()) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "waited for this: " << what;
      return false;
    }
    usleep(LOOK_MICROSECONDS);
  }
  return true;
}

bool IsAsleep(pid_t process) { return StatusOf(process, "State").substr(0, 1) == "S"; }

bool IsPending(pid_t process, int number) {
  return Contains(StatusOf(process, "ShdPnd"), number) ||
         Contains(StatusOf(process, "SigPnd"), number);
}

bool HasOpen(pid_t process, const std::string& path) {
  struct stat wanted {};
  const std::string folder = FolderOf(process) + "fd/";
  const std::unique_ptr<DIR, int (*)(DIR*)> descriptors(opendir(folder.c_str()), closedir);
  if (!descriptors || stat(path.c_str(), &wanted) != 0) {
    return false;
  }
  while (const dirent* entry = readdir(descriptors.get())) {
    struct stat found {};
    if (stat((folder + entry->d_name).c_str(), &found) == 0 && found.st_dev == wanted.st_dev &&
        found.st_ino == wanted.st_ino) {
      return true;
    }
  }
  return false;
}

unsigned long CountSleeps(pid_t process) {
  const std::string count = StatusOf(process, "voluntary_ctxt_switches");
  return count.empty() ? 0 : std::stoul(count);
}

long ResidentKilobytes(pid_t process) {
  const std::string size = StatusOf(process, "VmRSS");
  return size.empty() ? 0 : std::stol(size);
}

double ProcessorSeconds(pid_t process) {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
    return 0;
  }
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace system_test
