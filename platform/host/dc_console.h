// What the library needs of an operator's console.
#ifndef HOST_DC_CONSOLE_H
#define HOST_DC_CONSOLE_H

#include <cstdarg>

#include "tarsel/export.h"

namespace Tarsel {

/// The output of one command invocation, supplied by the host and created with `new`. Whoever ends
/// the command deletes it. No operation may throw. The order of the virtual operations is fixed.
class TARSEL_API DcConsole {
 public:
  virtual ~DcConsole() = default;
  /// printf-style output.
  virtual void Print(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// The same from an argument list.
  virtual void VPrint(const char* format, std::va_list arguments)
      __attribute__((format(printf, 2, 0))) = 0;
  /// Prints a finished text as an error.
  virtual void PrintError(const char* text) = 0;
  /// The command's output is complete. Not every command calls this: some only delete the console.
  virtual void CommandEnd() = 0;
  /// Returns the VLAN that the console is bound to, for a command with these words.
  virtual unsigned short GetVlan(int argc, char** argv) = 0;
};

}  // namespace Tarsel

#endif
