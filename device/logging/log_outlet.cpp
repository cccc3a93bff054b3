#include "log_outlet.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <string>

namespace logging {

namespace {

bool Is(int fd, mode_t type) {
  struct stat found {};
  return fstat(fd, &found) == 0 && (found.st_mode & S_IFMT) == type;
}

// A terminal by its own name: the link in /proc would make a new terminal of a terminal's master.
std::string FindName(int fd) {
  if (!isatty(fd)) {
    return "/proc/self/fd/" + std::to_string(fd);
  }
  std::array<char, PATH_MAX> name;
  return ttyname_r(fd, name.data(), name.size()) == 0 ? name.data() : "";
}

int OpenAnew(int fd) {
  if (Is(fd, S_IFREG) || Is(fd, S_IFSOCK)) {
    return -1;
  }
  return open(FindName(fd).c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

bool NeedsRelay(int fd, int own) { return own < 0 && !Is(fd, S_IFREG) && !Is(fd, S_IFSOCK); }

// Not the descriptor itself: the event loop would make it non-blocking for a moment.
int WatchRoom(int fd) {
  const int room = epoll_create1(EPOLL_CLOEXEC);
  epoll_event wanted{};
  wanted.events = EPOLLOUT;
  epoll_ctl(room, EPOLL_CTL_ADD, fd, &wanted);  // refused for files, which always have room
  return room;
}

}  // namespace

LogOutlet::LogOutlet(int fd, const LogFormat& format)
    : m_isSocket(Is(fd, S_IFSOCK)),
      m_own(OpenAnew(fd)),
      m_relay(NeedsRelay(fd, m_own.Get()) ? std::make_unique<LogRelay>(fd, format) : nullptr),
      m_fd(m_relay            ? m_relay->Get()
           : m_own.Get() >= 0 ? m_own.Get()
                              : fd),
      m_room(WatchRoom(m_fd)) {}

ssize_t LogOutlet::Write(const char* bytes, std::size_t size) {
  return m_isSocket ? send(m_fd, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL)
                    : write(m_fd, bytes, size);
}

void LogOutlet::AwaitRoom(int milliseconds) const {
  pollfd room{m_fd, POLLOUT, 0};
  poll(&room, 1, milliseconds);
}

void LogOutlet::Finish(int milliseconds) {
  if (m_relay) {
    m_relay->Finish(milliseconds);
  }
}

}  // namespace logging
