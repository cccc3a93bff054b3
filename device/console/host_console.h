// The consoles that the host hands to the library, one for each command.
#ifndef DEVICE_CONSOLE_HOST_CONSOLE_H
#define DEVICE_CONSOLE_HOST_CONSOLE_H

#include <memory>

#include "host/dc_console.h"
#include "running_command.h"

namespace console {

/// Created with `new`, deleted by its last owner (docs/decisions/console-ownership.md). It ends its
/// command when CommandEnd is called or when it is deleted, whichever comes first. It lets no
/// exception out, because the library calls it.
class HostConsole : public Tarsel::DcConsole {
 public:
  explicit HostConsole(std::shared_ptr<RunningCommand> command);
  ~HostConsole() override;

  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void VPrint(const char* format, std::va_list arguments) override
      __attribute__((format(printf, 2, 0)));
  /// Prints like Print: an operator reads one stream, in the order of the output.
  void PrintError(const char* text) override;
  void CommandEnd() override;
  unsigned short GetVlan(int argc, char** argv) override;

 private:
  std::shared_ptr<RunningCommand> m_command;
};

}  // namespace console

#endif
