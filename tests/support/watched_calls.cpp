#include "tests/support/watched_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <sstream>

namespace test_support {

namespace {

struct Watch {
  std::mutex mutex;
  bool isOn = false;
  CallPlan plan;
  std::vector<std::string> calls;
  int log = -1;
};

// Never destroyed: other objects' destructors write, too.
Watch& TheWatch() {
  static Watch& watch = *new Watch;
  return watch;
}

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string PathOf(int fd) {
  std::array<char, PATH_MAX> target{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t size = readlink(link.c_str(), target.data(), target.size());
  return size > 0 ? std::string(target.data(), static_cast<std::size_t>(size)) : std::string();
}

std::string PathOf(int folder, const char* name) {
  if (name[0] == '/') {
    return name;
  }
  std::array<char, PATH_MAX> current{};
  const char* at = folder == AT_FDCWD ? getcwd(current.data(), current.size()) : nullptr;
  return (at != nullptr ? at : PathOf(folder)) + "/" + name;
}

bool IsThere(const std::string& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0;
}

/// One call: which it is, and whether it is the one that the plan means.
struct Call {
  const char* name;
  std::string path;
  bool onlyRemoves = false;
};

Fate Count(const Call& call) {
  Watch& watch = TheWatch();
  const std::string& folder = watch.plan.folder;
  const std::lock_guard<std::mutex> lock(watch.mutex);
  if (!watch.isOn || call.path.compare(0, folder.size(), folder) != 0 ||
      (call.path.size() > folder.size() && call.path[folder.size()] != '/')) {
    return Fate::DONE;
  }
  const std::string inside =
      call.path.size() > folder.size() + 1 ? call.path.substr(folder.size() + 1) : ".";
  watch.calls.push_back(std::string(call.name) + " " + inside);
  if (watch.log >= 0) {
    dprintf(watch.log, "%s\n", watch.calls.back().c_str());
  }
  const CallPlan& plan = watch.plan;
  if (watch.calls.size() == plan.at) {
    return plan.fate;
  }
  const bool isLater = plan.at != 0 && watch.calls.size() > plan.at;
  const bool isPossible = call.onlyRemoves && plan.problem == ENOSPC;
  return plan.fate == Fate::ALL_FAIL && isLater && !isPossible ? Fate::FAILS : Fate::DONE;
}

[[noreturn]] void Die() {
  kill(getpid(), SIGKILL);
  for (;;) {
    pause();
  }
}

// Makes the call, or does not. `half` is what it has done when it is interrupted.
template <typename Result>
Result Make(const Call& call, const std::function<Result()>& real,
            const std::function<Result()>& half = {}) {
  const Fate fate = Count(call);
  if (fate == Fate::KILLED_BEFORE) {
    Die();
  }
  if (fate == Fate::DONE || fate == Fate::KILLED_AFTER) {
    const Result result = real();
    if (fate == Fate::KILLED_AFTER) {
      Die();
    }
    return result;
  }
  const int problem = TheWatch().plan.problem;
  const Result done = half && problem != EINTR ? half() : 0;
  if (fate == Fate::KILLED_HALFWAY) {
    Die();
  }
  if (fate == Fate::CUT_SHORT) {
    return done;
  }
  errno = problem;
  return -1;
}

int Open(const char* function, int folder, const char* name, int flags, mode_t mode) {
  const auto real = [&] {
    return Next<int(int, const char*, int, ...)>(function)(folder, name, flags, mode);
  };
  const std::string path = PathOf(folder, name);
  const bool isMade = (flags & O_CREAT) != 0 && !IsThere(path);
  return isMade || (flags & O_TRUNC) != 0 ? Make<int>({"open", path}, real) : real();
}

mode_t ModeOf(int flags, std::va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

// The plan of a program that was started with it.
__attribute__((constructor)) void TakePlan() {
  const char* text = std::getenv(PLAN_VARIABLE);
  if (text == nullptr) {
    return;
  }
  Watch& watch = TheWatch();
  std::istringstream plan(text);
  std::string log;
  int fate = 0;
  plan >> watch.plan.at >> fate >> watch.plan.problem >> watch.plan.folder >> log;
  watch.plan.fate = static_cast<Fate>(fate);
  watch.log = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (!plan || watch.log < 0) {
    std::fprintf(stderr, "%s: %s\n", PLAN_VARIABLE, text);
    std::abort();
  }
  watch.isOn = true;
}

}  // namespace

void WatchCalls(const CallPlan& plan) {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.plan = plan;
  watch.calls.clear();
  watch.isOn = true;
}

std::vector<std::string> StopWatching() {
  Watch& watch = TheWatch();
  const std::lock_guard<std::mutex> lock(watch.mutex);
  watch.isOn = false;
  return watch.calls;
}

}  // namespace test_support

using test_support::Make;
using test_support::Next;
using test_support::PathOf;

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = test_support::ModeOf(flags, arguments);
  va_end(arguments);
  return test_support::Open("openat", AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = test_support::ModeOf(flags, arguments);
  va_end(arguments);
  return test_support::Open("openat64", AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = test_support::ModeOf(flags, arguments);
  va_end(arguments);
  return test_support::Open("openat", folder, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = test_support::ModeOf(flags, arguments);
  va_end(arguments);
  return test_support::Open("openat64", folder, path, flags, mode);
}

int mkdir(const char* path, mode_t mode) {
  const auto real = [&] { return Next<int(const char*, mode_t)>("mkdir")(path, mode); };
  const std::string made = PathOf(AT_FDCWD, path);
  return test_support::IsThere(made) ? real() : Make<int>({"mkdir", made}, real);
}

ssize_t write(int fd, const void* bytes, size_t size) {
  const auto real = Next<ssize_t(int, const void*, size_t)>("write");
  return Make<ssize_t>(
      {"write", PathOf(fd)}, [&] { return real(fd, bytes, size); },
      [&] { return real(fd, bytes, size / 2); });
}

int fsync(int fd) {
  return Make<int>({"fsync", PathOf(fd)}, [&] { return fcntl(fd, F_GETFD) < 0 ? -1 : 0; });
}

int fdatasync(int fd) {
  return Make<int>({"fdatasync", PathOf(fd)}, [&] { return fcntl(fd, F_GETFD) < 0 ? -1 : 0; });
}

int ftruncate(int fd, off_t size) {
  return Make<int>({"ftruncate", PathOf(fd)},
                   [&] { return Next<int(int, off_t)>("ftruncate")(fd, size); });
}

int rename(const char* from, const char* to) {
  return Make<int>({"rename", PathOf(AT_FDCWD, to)},
                   [&] { return Next<int(const char*, const char*)>("rename")(from, to); });
}

int link(const char* from, const char* to) {
  return Make<int>({"link", PathOf(AT_FDCWD, to)},
                   [&] { return Next<int(const char*, const char*)>("link")(from, to); });
}

int symlink(const char* from, const char* to) {
  return Make<int>({"symlink", PathOf(AT_FDCWD, to)},
                   [&] { return Next<int(const char*, const char*)>("symlink")(from, to); });
}

int chmod(const char* path, mode_t mode) {
  return Make<int>({"chmod", PathOf(AT_FDCWD, path)},
                   [&] { return Next<int(const char*, mode_t)>("chmod")(path, mode); });
}

int unlink(const char* path) {
  const auto real = [&] { return Next<int(const char*)>("unlink")(path); };
  const std::string gone = PathOf(AT_FDCWD, path);
  return test_support::IsThere(gone) ? Make<int>({"unlink", gone, true}, real) : real();
}

int rmdir(const char* path) {
  return Make<int>({"rmdir", PathOf(AT_FDCWD, path), true},
                   [&] { return Next<int(const char*)>("rmdir")(path); });
}

int remove(const char* path) {
  const auto real = [&] { return Next<int(const char*)>("remove")(path); };
  const std::string gone = PathOf(AT_FDCWD, path);
  return test_support::IsThere(gone) ? Make<int>({"remove", gone, true}, real) : real();
}

int unlinkat(int folder, const char* path, int flags) {
  return Make<int>({"unlinkat", PathOf(folder, path), true}, [&] {
    return Next<int(int, const char*, int)>("unlinkat")(folder, path, flags);
  });
}

}  // extern "C"
