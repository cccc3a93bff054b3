// Where console clients find the daemon: a socket in the file system.
#ifndef DEVICE_CONSOLE_CONSOLE_SERVER_H
#define DEVICE_CONSOLE_CONSOLE_SERVER_H

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "device/loop/listening_socket.h"
#include "socket_session.h"

namespace console {

/// Runs several sessions at once, up to a limit, each with its own VLAN and its own output. When
/// all places are taken, root still gets one more, to find out who has them. Any other client gets
/// the place of the session that has been silent longest, if its silence has reached a limit, and
/// is refused otherwise.
class ConsoleServer {
 public:
  /// Of the protocol that it speaks with its clients.
  static constexpr unsigned short PROTOCOL_VERSION = wire::VERSION;

  struct Context {
    const Dispatcher& dispatcher;  // borrowed; has the words for the clients of this socket
    /// Makes a session's own wait until things have settled.
    std::function<std::unique_ptr<loop::SettledWait>()> makeSettle;
    std::function<unsigned short()> defaultVlan;
    Walks& walks;  // borrowed
    /// As SessionContext's.
    std::function<views::Effect(std::size_t most)> findEffect = {};
    /// What the log calls the socket.
    const char* place = "the socket";
    loop::SocketAccess access = {};
  };

  struct Limits {
    std::size_t sessions = 64;                  // without the one that is kept for root
    std::uint64_t silentMilliseconds = 60000;   // from when a session may lose its place
    std::uint64_t greetingMilliseconds = 5000;  // for a client to say its first word
  };

  /// Listens at `path`, as a ListeningSocket does. Clients wait until Start().
  ConsoleServer(uv_loop_s* loop, const std::string& path, Context context, Limits limits);
  /// The same at a socket that somebody else has made (loop::ListeningSocket).
  ConsoleServer(uv_loop_s* loop, int descriptor, Context context, Limits limits);
  ConsoleServer(const ConsoleServer&) = delete;
  ConsoleServer& operator=(const ConsoleServer&) = delete;
  /// Ends all sessions and removes the socket at its own path, if it is still its own.
  ~ConsoleServer();

  /// Begins to serve clients when things have settled, and calls `serving` then.
  void Start(std::function<void()> serving = {});
  std::size_t CountSessions() const;

 private:
  struct Client {
    std::unique_ptr<loop::SettledWait> settle;  // outlives the session
    std::unique_ptr<SocketSession> session;
    bool isGone = false;
  };

  void Serve();
  void Accept();
  void Welcome(int fd);
  bool HasPlaceFor(int fd) const;
  bool EndSilentSession();
  void Refuse(int fd) const;
  void Sweep();

  uv_loop_s* m_loop;
  const Context m_context;
  const Limits m_limits;
  const loop::ListeningSocket m_listener;
  loop::Poll m_poll;
  loop::Task m_sweep;
  loop::Timer m_pause;
  std::unique_ptr<loop::SettledWait> m_start;
  std::list<Client> m_clients;
};

}  // namespace console

#endif
