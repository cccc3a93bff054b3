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

int Bind(int fd, const sockaddr_un& address) {
  const mode_t mask = umask(S_IXUSR | S_IRWXG | S_IRWXO);
  const int problem =
      bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  umask(mask);
  return problem;
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

int Listen(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  const program::OwnedDescriptor folder(
      open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  LockUntilClosed(folder.Get());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    Fail(path, errno);
  }
  int problem = Bind(fd, address);
  if (problem == EADDRINUSE && IsLeftOver(address)) {
    unlink(address.sun_path);
    problem = Bind(fd, address);
  }
  if (problem == 0 && listen(fd, BACKLOG) != 0) {
    problem = errno;
  }
  if (problem != 0) {
    close(fd);
    Fail(path, problem);
  }
  return fd;
}

}  // namespace

ListeningSocket::Identity ListeningSocket::FindIdentity(const std::string& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 ? Identity(found.st_dev, found.st_ino) : Identity();
}

ListeningSocket::ListeningSocket(const std::string& path)
    : m_path(path), m_descriptor(Listen(path)), m_identity(FindIdentity(path)) {}

// Another process has the place by now when somebody removed the socket before.
ListeningSocket::~ListeningSocket() {
  if (FindIdentity(m_path) == m_identity) {
    unlink(m_path.c_str());
  }
}

}  // namespace loop
