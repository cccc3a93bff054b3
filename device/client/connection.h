// The client's side of a session with the daemon.
#ifndef DEVICE_CLIENT_CONNECTION_H
#define DEVICE_CLIENT_CONNECTION_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/wire/wire.h"
#include "progress_line.h"
#include "safe_text.h"

namespace client {

class Connection {
 public:
  /// Not connected yet. `timeoutSeconds` is how long the daemon may send nothing.
  explicit Connection(int timeoutSeconds) : m_timeoutSeconds(timeoutSeconds) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  /// Connects to the daemon at `path`, greets it and waits until it is ready for a command. Nothing
  /// is sent to a listener that cannot be trusted (see listener.h). Returns Code::DONE or why it
  /// failed, which has been printed on standard error.
  wire::Code Open(const std::string& path, const std::string& daemonUser);
  /// From now on a command is over when it has been carried out, whether its effect is there or
  /// not. To be called before the first one.
  void WaitForNoEffects();
  /// The next command is the only one of this session.
  void ExpectOneCommand();
  /// Has a command carried out and prints its output on standard output, made safe by SafeText.
  /// Returns the code of the reply. Meanwhile a terminal shows how far the command has come, if the
  /// daemon tells it; the daemon's timeout counts from the last that it has told. An interrupt
  /// meanwhile stops the output; a second one ends the process.
  wire::Code Execute(const std::string& command);
  /// Returns the words that may stand at the end of `begun`; none if the daemon does not answer.
  /// What the daemon says instead, before it hangs up, goes to standard output.
  std::vector<std::string> Complete(const std::string& begun);

  /// Whether there will be no further reply: the daemon has sent its last one, or something failed,
  /// which has been printed on standard error.
  bool IsOver() const { return m_isOver; }
  /// How it ended, once it is over.
  wire::Code GetEnd() const { return m_end; }
  bool WasInterrupted() const { return m_wasInterrupted; }
  /// The VLAN that the session is bound to.
  unsigned short GetVlan() const { return m_vlan; }

 private:
  /// Waits for the reply and returns its code; passes the output that comes before it to `take`.
  wire::Code Await(const std::function<void(std::string output)>& take);
  wire::Code AwaitAndPrint();
  /// Returns nothing if the daemon's version is known, else how the session ends.
  std::optional<wire::Code> CheckVersion(unsigned short version);
  wire::Code TakeReply(const wire::Message& reply);
  bool Receive();
  /// Sends all of it. Returns false if the daemon takes nothing for the whole timeout: the
  /// connection is over then. A daemon that has hung up is noticed by reading, since it may have
  /// said something before.
  bool Send(const std::string& bytes);
  wire::Code Fail(wire::Code code, const std::string& why);

  int m_timeoutSeconds;
  int m_fd = -1;
  wire::Decoder m_decoder;
  SafeText m_output;
  ProgressLine m_progress;
  std::string m_ahead;  // what is said with the next command
  bool m_isGreeted = false;
  unsigned short m_vlan = 0;
  bool m_isOver = false;
  wire::Code m_end = wire::Code::DONE;
  bool m_wasInterrupted = false;
};

}  // namespace client

#endif
