#include "log_relay.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <thread>

#include "lost_lines.h"

namespace logging {

namespace {

constexpr std::size_t PIECE = 16384;

// Whoever shares the descriptor may have made it non-blocking.
bool AwaitRoom(int fd) {
  pollfd room{fd, POLLOUT, 0};
  return poll(&room, 1, -1) > 0 || errno == EINTR;
}

// What of the text could not be written; errno says why.
std::string_view Write(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(fd, text.data(), text.size());
    if (count > 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR && (errno != EAGAIN || !AwaitRoom(fd))) {
      break;  // nobody reads there now; perhaps the next piece is read
    }
  }
  return text;
}

// What was lost before is told first, so that lines keep their order.
void Pass(int fd, std::string_view text, const LogFormat& format, LostLines& lost) {
  if (!lost.IsEmpty()) {
    const auto prefix = format.MakePrefix(Severity::WARNING, Component::HOST);
    if (!Write(fd, lost.Format(false, prefix.data())).empty()) {
      lost.Add(text, errno);
      return;
    }
  }
  lost.Clear();
  const std::string_view rest = Write(fd, text);
  if (!rest.empty()) {
    lost.Add(rest, errno);
  }
}

void Relay(int from, int to, LogFormat format) {
  std::array<char, PIECE> bytes;
  LostLines lost;
  for (;;) {
    const ssize_t count = read(from, bytes.data(), bytes.size());
    if (count > 0) {
      Pass(to, {bytes.data(), static_cast<std::size_t>(count)}, format, lost);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  close(from);  // tells the other end that all is written
}

// Signals are the event loop's, so the thread begins with all of them blocked.
void StartThread(int from, int to, const LogFormat& format) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::error_code problem;
  try {
    std::thread(Relay, from, to, format).detach();
  } catch (const std::system_error& none) {
    problem = none.code();
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (problem) {
    throw std::system_error(problem, "a thread for the log");
  }
}

}  // namespace

LogRelay::LogRelay(int fd, const LogFormat& format) {
  std::array<int, 2> ends;
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::system_category(), "a socket for the log");
  }
  try {
    StartThread(ends[1], fd, format);
  } catch (const std::system_error&) {
    close(ends[0]);
    close(ends[1]);
    throw;
  }
  m_socket = ends[0];
  fcntl(m_socket, F_SETFL, O_NONBLOCK);
}

LogRelay::~LogRelay() { close(m_socket); }

void LogRelay::Finish(int milliseconds) {
  shutdown(m_socket, SHUT_WR);
  pollfd end{m_socket, POLLIN, 0};
  poll(&end, 1, milliseconds);
}

}  // namespace logging
