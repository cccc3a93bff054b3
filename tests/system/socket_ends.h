// The ends of the daemon's socket that a test plays itself, to do what daemon and client do not.
#ifndef TESTS_SYSTEM_SOCKET_ENDS_H
#define TESTS_SYSTEM_SOCKET_ENDS_H

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/wire/wire.h"

namespace system_test {

/// A daemon with one client, which it keeps waiting until it is told to answer. It gives up waiting
/// for the client after half a minute.
class SlowDaemon {
 public:
  /// Listens as `user`, if the test is run by root.
  explicit SlowDaemon(const std::string& path, uid_t user = geteuid());
  SlowDaemon(const SlowDaemon&) = delete;
  SlowDaemon& operator=(const SlowDaemon&) = delete;
  ~SlowDaemon();

  /// Lets a client in, and exchanges greetings with it.
  void Accept();
  /// Lets a client in, and says nothing.
  void AcceptUngreeted();
  /// Lets nobody else connect, as nobody is accepted.
  void FillQueue();
  void Send(const std::string& bytes);
  /// Sends to a client that may have gone.
  void Offer(const std::string& bytes) const;
  void HangUp();
  /// What the client has sent up to some size, or up to its end if that comes first.
  std::string Read(std::size_t size);

 private:
  int m_listener;
  int m_client = -1;
  std::vector<int> m_waiting;
};

/// A client that sends what it is told to. It gives up waiting for the daemon after half a minute.
class RawClient {
 public:
  /// Begins with a greeting.
  explicit RawClient(const std::string& path, const std::string& greeting = wire::EncodeGreeting());
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;
  ~RawClient();

  void Send(const std::string& bytes);
  /// What comes up to the next reply, and the reply.
  std::pair<std::string, std::optional<wire::Message>> Read();
  std::optional<wire::Message> ReadReply() { return Read().second; }
  /// Whether the daemon has hung up, as the last reading found.
  bool HasEnded() const { return m_hasEnded; }

 private:
  int m_fd;
  bool m_hasEnded = false;
  wire::Decoder m_decoder;
};

}  // namespace system_test

#endif
