// A message is a datagram of lines. What has not been told yet is kept as it would be told now, not
// as a queue, so that a manager that does not read costs no memory and hears the truth afterwards.
#include "service_manager.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <utility>

#include "environment.h"

namespace vantacored {

namespace {

constexpr std::uint64_t LOOK_MILLISECONDS = 1000;
constexpr std::uint64_t AGAIN_MILLISECONDS = 100;
constexpr const char* READY = "READY=1\n";

std::uint64_t ReadNumber(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, problem] = std::from_chars(text.data(), end, number);
  return problem == std::errc() && rest == end ? number : 0;
}

// A path, or a name that no file has. Managers outside of this machine are none here.
socklen_t MakeAddress(const std::string& text, sockaddr_un& address) {
  if (text.size() < 2 || text.size() >= sizeof address.sun_path ||
      (text[0] != '/' && text[0] != '@')) {
    return 0;
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, text.data(), text.size());
  if (text[0] == '@') {
    address.sun_path[0] = '\0';
  }
  return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size());
}

// By the clock that the protocol names.
std::string NowMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::to_string(static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
                        static_cast<std::uint64_t>(now.tv_nsec) / 1000);
}

}  // namespace

ServiceEnvironment ReadServiceEnvironment() {
  ServiceEnvironment environment;
  environment.notifySocket = Environment("NOTIFY_SOCKET");
  const std::string process = Environment("WATCHDOG_PID");
  if (process.empty() || process == std::to_string(getpid())) {
    environment.watchdogMicroseconds = ReadNumber(Environment("WATCHDOG_USEC"));
  }
  return environment;
}

ServiceManager::ServiceManager(uv_loop_s* loop, const ServiceEnvironment& environment, Hooks hooks)
    : m_hooks(std::move(hooks)),
      m_signMilliseconds(std::max<std::uint64_t>(environment.watchdogMicroseconds / 2000, 1)),
      m_addressSize(MakeAddress(environment.notifySocket, m_address)),
      m_socket(m_addressSize == 0 ? -1
                                  : socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
      m_look(loop),
      m_again(loop),
      m_sign(loop) {
  if (m_socket.Get() >= 0 && environment.watchdogMicroseconds != 0) {
    m_sign.Start(m_signMilliseconds, [this] { GiveSignOfLife(); });
  }
}

void ServiceManager::Started() {
  m_isStarted = true;
  if (!m_isReloading) {
    Enter(READY);
  }
}

void ServiceManager::ReloadBegins() {
  m_isReloading = true;
  if (m_isStarted) {
    Enter("RELOADING=1\nMONOTONIC_USEC=" + NowMicroseconds() + "\n");
  }
}

void ServiceManager::ReloadIsOver() {
  m_isReloading = false;
  if (m_isStarted) {
    Enter(READY);
  }
}

void ServiceManager::Stops() {
  if (m_socket.Get() >= 0) {
    m_phaseToTell = "STOPPING=1\n";
    m_statusToTell = "STATUS=stopping\n";
    Tell();
  }
}

void ServiceManager::Enter(const std::string& phase) {
  if (m_socket.Get() >= 0) {
    m_phaseToTell = phase;
    LookNow();
  }
}

void ServiceManager::LookIfItIsTime() {
  if (!m_lookedAt || m_hooks.now() - *m_lookedAt >= LOOK_MILLISECONDS) {
    LookNow();
  }
}

// Of a calm device only something that happens makes news, and that is a turn of the loop.
void ServiceManager::LookNow() {
  m_lookedAt = m_hooks.now();
  State state = m_hooks.describe();
  if (state.isCalm) {
    m_look.Stop();
  } else {
    m_look.Start(LOOK_MILLISECONDS, [this] { LookNow(); });
  }
  if (state.text != m_status) {
    m_status = std::move(state.text);
    m_statusToTell = "STATUS=" + m_status + "\n";
  }
  Tell();
}

void ServiceManager::GiveSignOfLife() {
  m_sign.Start(m_signMilliseconds, [this] { GiveSignOfLife(); });
  m_owesSign = true;
  Tell();
}

void ServiceManager::Tell() {
  const std::string message = m_phaseToTell + m_statusToTell + (m_owesSign ? "WATCHDOG=1\n" : "");
  if (message.empty()) {
    return;
  }
  if (!Send(message)) {
    m_again.Start(AGAIN_MILLISECONDS, [this] { Tell(); });
    return;
  }
  m_phaseToTell.clear();
  m_statusToTell.clear();
  m_owesSign = false;
}

// False if the manager has no room. One that is gone has missed it.
bool ServiceManager::Send(const std::string& message) const {
  return sendto(m_socket.Get(), message.data(), message.size(), MSG_NOSIGNAL,
                reinterpret_cast<const sockaddr*>(&m_address), m_addressSize) >= 0 ||
         (errno != EAGAIN && errno != ENOBUFS);
}

}  // namespace vantacored
