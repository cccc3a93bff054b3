#include "listening_socket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace loop {

namespace {

constexpr int BACKLOG = 64;

[[noreturn]] void Fail(const std::string& path, int problem) {
  throw std::runtime_error(path + ": " + std::strerror(problem));
}

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    Fail(path, ENAMETOOLONG);
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// A socket that nobody listens at is what a daemon that was killed has left.
bool IsLeftOver(const sockaddr_un& address) {
  struct stat found {};
  if (lstat(address.sun_path, &found) != 0 || !S_ISSOCK(found.st_mode)) {
    return false;
  }
  const program::OwnedDescriptor probe(
      socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return connect(probe.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
         errno == ECONNREFUSED;
}

int Bind(int fd, const sockaddr_un& address, mode_t mode) {
  const mode_t mask = umask(~mode & (S_IRWXU | S_IRWXG | S_IRWXO));
  const int problem =
      bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  umask(mask);
  return problem;
}

// Returns 0, or why the socket cannot be given away. What somebody has put in its place meanwhile is
// left alone.
int GiveAway(const sockaddr_un& address, const SocketAccess& access) {
  constexpr uid_t SAME_OWNER = static_cast<uid_t>(-1);
  constexpr gid_t SAME_GROUP = static_cast<gid_t>(-1);
  const program::OwnedDescriptor file(open(address.sun_path, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat found {};
  if (fstat(file.Get(), &found) != 0) {
    return errno;
  }
  if (!S_ISSOCK(found.st_mode)) {
    return ENOTSOCK;
  }
  return fchownat(file.Get(), "", access.owner.value_or(SAME_OWNER),
                  access.group.value_or(SAME_GROUP), AT_EMPTY_PATH) == 0
             ? 0
             : errno;
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Keeps another daemon that starts from taking a socket that is bound, and not listened at yet, for
// one that was left over. A start holds the lock for milliseconds, so after a second somebody else
// has it, and the start goes on without; as it does in a folder that cannot be locked.
void LockUntilClosed(int folder) {
  for (int tries = 0; tries < 100; ++tries) {
    if (flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
      return;
    }
    uv_sleep(10);
  }
}

int NewSocket(const std::string& path) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    Fail(path, errno);
  }
  return fd;
}

[[noreturn]] void GiveUp(const sockaddr_un& address, const std::string& what, int problem) {
  unlink(address.sun_path);
  Fail(what, problem);
}

// The order is what keeps strangers out: a socket that is bound refuses everybody until somebody
// listens at it, and by then it has its owner, its group and its mode.
void Listen(int fd, const std::string& path, const SocketAccess& access) {
  const sockaddr_un address = AddressOf(path);
  const program::OwnedDescriptor folder(
      open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  LockUntilClosed(folder.Get());
  int problem = Bind(fd, address, access.GetMode());
  if (problem == EADDRINUSE && IsLeftOver(address)) {
    unlink(address.sun_path);
    problem = Bind(fd, address, access.GetMode());
  }
  if (problem != 0) {
    Fail(path, problem);
  }
  problem = access.owner || access.group ? GiveAway(address, access) : 0;
  if (problem != 0) {
    GiveUp(address, path + ": cannot be given to its owner and group", problem);
  }
  if (listen(fd, BACKLOG) != 0) {
    GiveUp(address, path, errno);
  }
}

}  // namespace

ListeningSocket::Identity ListeningSocket::FindIdentity(const std::string& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 ? Identity(found.st_dev, found.st_ino) : Identity();
}

ListeningSocket::ListeningSocket(const std::string& path, const SocketAccess& access)
    : m_path(path), m_descriptor(NewSocket(path)) {
  Listen(m_descriptor.Get(), path, access);
  m_identity = FindIdentity(path);
}

ListeningSocket::ListeningSocket(int descriptor) : m_descriptor(descriptor) {}

// Another process has the place by now when somebody removed the socket before.
ListeningSocket::~ListeningSocket() {
  if (!m_path.empty() && FindIdentity(m_path) == m_identity) {
    unlink(m_path.c_str());
  }
}

}  // namespace loop
