// The client's side of a session with the daemon.
#ifndef DEVICE_CLIENT_CONNECTION_H
#define DEVICE_CLIENT_CONNECTION_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/wire/wire.h"
#include "safe_text.h"

namespace client {

class Connection {
 public:
  /// Nothing is connected yet. `timeoutSeconds`: how long the daemon may give no sign.
  explicit Connection(int timeoutSeconds) : m_timeoutSeconds(timeoutSeconds) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  /// Connects to a listener that is to be trusted (see listener.h), greets it and waits until it is
  /// ready for a command. Nothing is said to any other.
  wire::Code Open(const std::string& path, const std::string& daemonUser);
  /// Carries out a command, its output goes to standard output as SafeText makes it. An interrupt meanwhile stops the
  /// output; a second one ends the process.
  wire::Code Execute(const std::string& command);
  /// The words that may stand where `begun` ends; none when the daemon does not say. What it says
  /// instead before it hangs up goes to standard output.
  std::vector<std::string> Complete(const std::string& begun);

  /// There will be no further reply: the daemon gave its last one, or something failed, which has been
  /// said on standard error.
  bool IsOver() const { return m_isOver; }
  /// How it ended, once it is over.
  wire::Code GetEnd() const { return m_end; }
  bool WasInterrupted() const { return m_wasInterrupted; }
  /// The VLAN that the session is bound to.
  unsigned short GetVlan() const { return m_vlan; }

 private:
  /// Until the reply; hands over what comes before it.
  wire::Code Await(const std::function<void(const std::string& output)>& take);
  wire::Code AwaitAndPrint();
  /// Nothing when the daemon's version is known.
  std::optional<wire::Code> CheckVersion(unsigned short version);
  wire::Code TakeReply(const wire::Message& reply);
  bool Receive();
  /// Sends all of it. False when the daemon takes nothing for the whole time: the connection is over. A
  /// daemon that has hung up is found out by reading, since it may have said something before.
  bool Send(const std::string& bytes);
  wire::Code Fail(wire::Code code, const std::string& why);

  int m_timeoutSeconds;
  int m_fd = -1;
  wire::Decoder m_decoder;
  SafeText m_output;
  bool m_isGreeted = false;
  unsigned short m_vlan = 0;
  bool m_isOver = false;
  wire::Code m_end = wire::Code::DONE;
  bool m_wasInterrupted = false;
};

}  // namespace client

#endif
