// The program that shows an operator more than a terminal holds.
#ifndef DEVICE_CLIENT_PAGER_H
#define DEVICE_CLIENT_PAGER_H

#include <sys/types.h>
#include <termios.h>

#include <csignal>
#include <memory>
#include <string>

#include "device/program/owned_descriptor.h"

namespace client {

/// A process that reads what is written here and has the terminal's keys. To be used while SIGINT
/// is blocked: the operator sends that one to the pager too, and it must not end the client before
/// the pager.
class Pager {
 public:
  /// Starts `$PAGER`, else `less`, else `more`. Root's is never `$PAGER`, and gets no way to a
  /// shell: what an operator's environment says must not run as root. Returns null if none of them
  /// can be started, or if `$PAGER` is empty, by which an operator says that there shall be none.
  static std::unique_ptr<Pager> Start();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;
  /// Tells the pager that there is no more, waits for its end, and leaves the terminal as it was.
  /// An interrupt that has come meanwhile was for the pager, and is gone.
  ~Pager();

  /// Waits while the pager takes no more. Returns false if it has gone: the operator has quit it.
  bool Write(const std::string& text);
  /// As poll() takes it: an error at this descriptor says that the pager has gone.
  int GetDescriptor() const { return m_pipe->Get(); }

 private:
  Pager(pid_t pid, std::unique_ptr<program::OwnedDescriptor> pipe);

  const pid_t m_pid;
  std::unique_ptr<program::OwnedDescriptor> m_pipe;
  termios m_settings{};
  bool m_hasSettings;
  struct sigaction m_brokenPipe {};
};

}  // namespace client

#endif
