// An interrupt is let in while the client waits and at no other time, so none is missed between a
// look at the flag and the wait.
#include "connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <utility>

#include "device/program/printable.h"
#include "listener.h"

namespace client {

namespace {

volatile std::sig_atomic_t g_isInterrupted = 0;

constexpr const char* NO_SIGN = "the daemon gives no sign";
constexpr const char* PROTOCOL = " of the console protocol";
const std::string KNOWN = "; this client knows version " + std::to_string(wire::VERSION);

void Print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

}  // namespace

/// While it lives interrupts are noted, and come only where they are let in.
class InterruptWatch {
 public:
  InterruptWatch() {
    g_isInterrupted = 0;
    struct sigaction noted {};
    noted.sa_handler = [](int) { g_isInterrupted = 1; };
    sigaction(SIGINT, &noted, &m_action);
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupt, &m_mask);
  }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch() {
    sigaction(SIGINT, &m_action, nullptr);
    sigprocmask(SIG_SETMASK, &m_mask, nullptr);
  }

  /// Waits until there is something to read, or an error at `other`: as poll(), with the interrupt
  /// let in. Sets `isOther` to whether it is the error.
  int Wait(int fd, int other, int seconds, bool& isOther) const {
    isOther = false;
    if (!LetIn()) {
      return -1;
    }
    pollfd polled[] = {{fd, POLLIN, 0}, {other, 0, 0}};
    const timespec limit{seconds, 0};
    const int ready = ppoll(polled, 2, &limit, &m_mask);
    isOther = ready > 0 && polled[1].revents != 0;
    return ready;
  }

  /// Lets an interrupt in that has come. False if there was one. A wait does not do that by itself
  /// while there is always something to read.
  bool LetIn() const {
    const timespec now{0, 0};
    return ppoll(nullptr, 0, &now, &m_mask) == 0;
  }

  /// The next interrupt ends the process.
  static void EndAtNext() { std::signal(SIGINT, SIG_DFL); }

 private:
  struct sigaction m_action {};
  sigset_t m_mask{};
};

Connection::~Connection() {
  if (m_fd >= 0) {
    close(m_fd);
  }
}

wire::Code Connection::Open(const std::string& path, const std::string& daemonUser) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    return Fail(wire::Code::UNREACHABLE, path + ": " + std::strerror(ENAMETOOLONG));
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  m_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (m_fd < 0) {
    return Fail(wire::Code::UNREACHABLE, path + ": " + std::strerror(errno));
  }
  const timeval limit{m_timeoutSeconds, 0};
  setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  int problem = 0;
  do {
    problem = connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (problem != 0 && errno == EINTR);
  if (problem != 0) {
    return Fail(errno == EAGAIN ? wire::Code::TIMED_OUT : wire::Code::UNREACHABLE,
                path + ": " + std::strerror(errno));
  }
  const std::string distrust = Distrust(m_fd, daemonUser);
  if (!distrust.empty()) {
    return Fail(wire::Code::UNREACHABLE, path + ": " + distrust);
  }
  if (!Send(wire::EncodeGreeting())) {
    return m_end;
  }
  const wire::Code code = AwaitAndShow();
  // A daemon that hangs up before it has taken a command has not done it, whatever it says.
  return m_isOver && code == wire::Code::DONE ? wire::Code::REFUSED : code;
}

void Connection::WaitForNoEffects() { m_ahead += wire::EncodeNoWait(); }

void Connection::ExpectOneCommand() { m_ahead += wire::EncodeSingle(); }

wire::Code Connection::Execute(const std::string& command) {
  if (command.size() > wire::MAX_TEXT) {
    std::fprintf(stderr, "vantacorectl: a command has %zu bytes at most\n", wire::MAX_TEXT);
    return wire::Code::REFUSED;
  }
  return Send(std::exchange(m_ahead, {}) + wire::EncodeCommand(command)) ? AwaitAndShow() : m_end;
}

void Connection::ShowHelp(const std::string& begun) {
  if (!m_isOver && begun.size() <= wire::MAX_TEXT && Send(wire::EncodeHelp(begun))) {
    AwaitAndShow();
  }
}

std::vector<std::string> Connection::Complete(const std::string& begun) {
  SafeText safe;
  std::string words;
  if (!m_isOver && begun.size() <= wire::MAX_TEXT && Send(wire::EncodeCompletion(begun))) {
    const InterruptWatch watch;
    Await(watch, [&](std::string output) { words += safe.Take(std::move(output)); });
    words += safe.TakeRest();
  }
  if (m_isOver) {  // these are not words, but what the daemon had to say
    Print(words.empty() ? "" : "\n" + words);
    std::fflush(stdout);
    return {};
  }
  return SplitLines(words);
}

wire::Code Connection::AwaitAndShow() {
  const InterruptWatch watch;
  m_isStopped = false;
  const wire::Code code =
      Await(watch, [this](std::string output) { m_display.Take(std::move(output)); });
  m_display.End();
  // One that has come since the last wait was for this command, too.
  watch.LetIn();
  m_wasInterrupted = m_wasInterrupted || g_isInterrupted != 0;
  return code;
}

wire::Code Connection::Await(const InterruptWatch& watch,
                             const std::function<void(std::string output)>& take) {
  for (;;) {
    while (auto message = m_decoder.Next()) {
      switch (message->kind) {
        case wire::Message::REPLY:
          return TakeReply(*message);
        case wire::Message::PROGRESS:
          m_display.TakeProgress(message->done, message->total);
          break;
        case wire::Message::LIVE:
          m_display.Release();
          break;
        case wire::Message::GREETING:
          if (const auto refusal = CheckVersion(message->version)) {
            return *refusal;
          }
          break;
        default:
          take(std::move(message->text));
      }
    }
    std::fflush(stdout);
    if (m_decoder.IsBroken()) {
      return Fail(wire::Code::UNREACHABLE, "whoever listens there is no daemon");
    }
    if (const auto end = AwaitBytes(watch)) {
      return *end;
    }
  }
}

// What has been held for a second is shown: the command is a slow one.
std::optional<wire::Code> Connection::AwaitBytes(const InterruptWatch& watch) {
  if (m_display.HasQuit() && !std::exchange(m_isStopped, true) && !Send(wire::EncodeInterrupt())) {
    return m_end;
  }
  const bool isHolding = m_display.IsHolding();
  bool isPager = false;
  int ready = watch.Wait(m_fd, m_display.GetPager(), isHolding ? 1 : m_timeoutSeconds, isPager);
  if (ready == 0 && isHolding) {
    m_display.Release();
    ready = watch.Wait(m_fd, -1, m_timeoutSeconds - 1, isPager);
  }
  if (g_isInterrupted) {
    g_isInterrupted = 0;
    m_wasInterrupted = true;
    if (m_display.GetPager() < 0) {
      InterruptWatch::EndAtNext();
    }
    return Send(wire::EncodeInterrupt()) ? std::nullopt : std::optional(m_end);
  }
  if (isPager) {
    m_display.Quit();
  } else if (ready == 0) {
    return Fail(wire::Code::TIMED_OUT, NO_SIGN);
  } else if (ready > 0 && !Receive()) {
    return Fail(wire::Code::UNREACHABLE, "the daemon has gone");
  }
  return std::nullopt;
}

std::optional<wire::Code> Connection::CheckVersion(unsigned short version) {
  m_isGreeted = true;
  if (version == wire::VERSION) {
    return std::nullopt;
  }
  return Fail(wire::Code::REFUSED,
              "the daemon speaks version " + std::to_string(version) + PROTOCOL + KNOWN);
}

// A daemon that is full may refuse without a greeting.
wire::Code Connection::TakeReply(const wire::Message& reply) {
  if (!m_isGreeted && !reply.isLast) {
    return Fail(wire::Code::REFUSED, std::string("the daemon does not say which version") +
                                         PROTOCOL + " it speaks" + KNOWN);
  }
  m_vlan = reply.vlan;
  m_isOver = reply.isLast;
  m_end = reply.code;
  return reply.code;
}

bool Connection::Receive() {
  char bytes[65536];
  const ssize_t count = recv(m_fd, bytes, sizeof bytes, 0);
  if (count > 0) {
    m_decoder.Feed(bytes, static_cast<std::size_t>(count));
  }
  return count > 0 || (count < 0 && errno == EINTR);
}

bool Connection::Send(const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      Fail(wire::Code::TIMED_OUT, NO_SIGN);
      return false;
    } else if (errno != EINTR) {
      break;
    }
  }
  return true;
}

wire::Code Connection::Fail(wire::Code code, const std::string& why) {
  m_display.End();
  std::fprintf(stderr, "vantacorectl: %s\n", program::PrintableLines(why).c_str());
  m_isOver = true;
  m_end = code;
  return code;
}

}  // namespace client
