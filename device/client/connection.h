// The client's side of a session with the daemon.
#ifndef DEVICE_CLIENT_CONNECTION_H
#define DEVICE_CLIENT_CONNECTION_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/wire/wire.h"
#include "display.h"

namespace client {

class InterruptWatch;

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
  /// From now on output that is longer than the terminal goes to a pager (display.h).
  void WantPages() { m_display.WantPages(); }
  /// Has a command carried out and shows its output. Returns the code of the reply. Meanwhile a
  /// terminal shows how far the command has come, if the daemon tells it; the daemon's timeout
  /// counts from the last that it has told. An interrupt meanwhile stops the output, and so does
  /// an operator who quits the pager; a second interrupt ends the process, unless there is a pager.
  wire::Code Execute(const std::string& command);
  /// Shows what may stand at the end of `begun`, in the daemon's words.
  void ShowHelp(const std::string& begun);
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
  wire::Code Await(const InterruptWatch& watch,
                   const std::function<void(std::string output)>& take);
  wire::Code AwaitAndShow();
  /// Waits until there is something to read, and reads it. Returns nothing then, else how the
  /// session ends.
  std::optional<wire::Code> AwaitBytes(const InterruptWatch& watch);
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
  Display m_display;
  std::string m_ahead;  // what is said with the next command
  bool m_isGreeted = false;
  unsigned short m_vlan = 0;
  bool m_isOver = false;
  wire::Code m_end = wire::Code::DONE;
  bool m_wasInterrupted = false;
  bool m_isStopped = false;  // the daemon has been told that the operator has quit the pager
};

}  // namespace client

#endif
