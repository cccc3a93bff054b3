// The consoles that the host hands to the library, one for each command.
#ifndef DEVICE_CONSOLE_HOST_CONSOLE_H
#define DEVICE_CONSOLE_HOST_CONSOLE_H

#include <functional>
#include <memory>
#include <string>

#include "host/dc_console.h"

namespace console {

/// One command that is being carried out, shared by its console, the session that waits for it and a
/// reload that may have something to say.
/// The console may outlive the session: a walk that has begun runs to its end.
struct RunningCommand {
  /// Takes output; empty when nobody reads it any more.
  std::function<void(const std::string& text)> write;
  /// Told once that the command is over, from inside whatever ended it.
  std::function<void()> over;
  /// The VLAN that the session is bound to.
  unsigned short vlan = 0;
  /// False when the operator does not see the daemon's log: what a reload complains of is to be
  /// written here as well, and makes the command refused.
  bool seesLog = true;
  bool isRefused = false;  // by what came to light after the dispatcher's reply
  bool isOver = false;
  bool isDeleted = false;  // the console, by whoever had it

  void Write(const std::string& text) const;
  void End();
};

/// Created with `new`; ends its invocation when it is told that the command has ended, or when it is
/// deleted, whichever comes first. No exception leaves it: the library calls it.
class HostConsole : public Tarsel::DcConsole {
 public:
  explicit HostConsole(std::shared_ptr<RunningCommand> invocation);
  ~HostConsole() override;

  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void VPrint(const char* format, std::va_list arguments) override
      __attribute__((format(printf, 2, 0)));
  /// An operator reads one stream, in the order in which things were said.
  void PrintError(const char* text) override;
  void CommandEnd() override;
  unsigned short GetVlan(int argc, char** argv) override;

 private:
  std::shared_ptr<RunningCommand> m_invocation;
};

}  // namespace console

#endif
