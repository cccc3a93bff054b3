// Tells the service manager that has started this process how the daemon is.
#ifndef DEVICE_DAEMON_SERVICE_MANAGER_H
#define DEVICE_DAEMON_SERVICE_MANAGER_H

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "device/loop/loop_handles.h"
#include "device/program/owned_descriptor.h"

namespace vantacored {

/// What the environment says of a service manager.
struct ServiceEnvironment {
  std::string notifySocket;                // $NOTIFY_SOCKET; empty: there is no service manager
  std::uint64_t watchdogMicroseconds = 0;  // $WATCHDOG_USEC, if it is for this process; 0: none
};

ServiceEnvironment ReadServiceEnvironment();

/// Speaks the protocol of sd_notify(3). Nothing here waits: what a manager that does not read has
/// no room for is told later, as it is then. Without a manager nothing is told, and nothing costs
/// anything.
class ServiceManager {
 public:
  struct State {
    std::string text;     // what is under way, in words, on one line
    bool isCalm = false;  // it stays so until something else happens
  };
  struct Hooks {
    /// Asked from Look and from timers, at most once a second, and when the phase changes.
    std::function<State()> describe;
    std::function<std::uint64_t()> now;  // milliseconds, never going back
  };

  /// From now on the manager is told that the loop turns, if it wants to know.
  ServiceManager(uv_loop_s* loop, const ServiceEnvironment& environment, Hooks hooks);
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;

  /// What is to be in force is, and the console answers. A reload that has begun before is a part
  /// of the start.
  void Started();
  void ReloadBegins();
  /// It is in force, or was refused.
  void ReloadIsOver();
  /// The last word.
  void Stops();

  /// At the end of each turn of the loop; one test unless there is a manager.
  void Look() {
    if (m_socket.Get() >= 0) {
      LookIfItIsTime();
    }
  }

 private:
  void Enter(const std::string& phase);
  void LookIfItIsTime();
  void LookNow();
  void Tell();
  bool Send(const std::string& message) const;
  void GiveSignOfLife();

  const Hooks m_hooks;
  const std::uint64_t m_signMilliseconds;  // between two signs of life
  sockaddr_un m_address{};
  const socklen_t m_addressSize;
  const program::OwnedDescriptor m_socket;  // none without a manager
  bool m_isStarted = false;
  bool m_isReloading = false;
  std::string m_phaseToTell;   // as the protocol has it; empty: it has been told
  std::string m_statusToTell;  // so too
  bool m_owesSign = false;
  std::string m_status;
  std::optional<std::uint64_t> m_lookedAt;
  loop::Timer m_look;
  loop::Timer m_again;
  loop::Timer m_sign;
};

}  // namespace vantacored

#endif
