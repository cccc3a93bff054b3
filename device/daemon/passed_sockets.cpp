#include "passed_sockets.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "device/program/decimal.h"
#include "device/program/printable.h"
#include "environment.h"

namespace vantacored {

namespace {

constexpr int FIRST = 3;  // after the standard streams
constexpr unsigned int MOST = 1024;
constexpr const char* CONSOLE = "console";

[[noreturn]] void Refuse(const std::string& reason) {
  throw std::runtime_error("the service manager passes " + reason);
}

int OptionOf(int fd, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  return getsockopt(fd, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

bool IsOfFileSystem(int fd) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
         address.ss_family == AF_UNIX;
}

// The manager's word for a socket whose unit gives it no name of its own is "unknown" or none.
bool IsUnnamed(const std::string& name) { return name.empty() || name == "unknown"; }

}  // namespace

int TakePassedConsole() {
  if (Environment("LISTEN_PID") != std::to_string(getpid())) {
    return -1;
  }
  const std::string count = Environment("LISTEN_FDS");
  const auto descriptors = program::ReadDecimal(count, 0, MOST);
  if (!descriptors) {
    Refuse("descriptors, but their number is " + program::Quote(count));
  }
  if (*descriptors == 0) {
    return -1;
  }
  if (*descriptors > 1) {
    Refuse(count + " sockets, expected the one of the console");
  }
  const std::string name = Environment("LISTEN_FDNAMES");
  if (!IsUnnamed(name) && name != CONSOLE) {
    Refuse("a socket with the name " + program::Quote(name) + ", expected \"console\"");
  }
  if (!IsOfFileSystem(FIRST) || OptionOf(FIRST, SO_TYPE) != SOCK_STREAM) {
    Refuse("no stream socket of the file system for the console");
  }
  if (OptionOf(FIRST, SO_ACCEPTCONN) != 1) {
    Refuse("a socket for the console that does not listen");
  }
  fcntl(FIRST, F_SETFD, FD_CLOEXEC);
  fcntl(FIRST, F_SETFL, fcntl(FIRST, F_GETFL) | O_NONBLOCK);
  return FIRST;
}

}  // namespace vantacored
