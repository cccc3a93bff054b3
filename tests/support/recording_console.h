// A console that writes down what a command does with it.
#ifndef TESTS_SUPPORT_RECORDING_CONSOLE_H
#define TESTS_SUPPORT_RECORDING_CONSOLE_H

#include <memory>
#include <string>

#include "host/dc_console.h"

namespace test_support {

/// What one console saw. It outlives the console, which the command may delete at any time.
struct ConsoleLog {
  std::string output;       // of Print and VPrint
  std::string errors;       // of PrintError
  std::string all;          // both, in the order of the calls
  int ends = 0;             // CommandEnd calls
  bool destroyed = false;   // the console's destructor ran
  unsigned short vlan = 1;  // what the VLAN query answers
  int vlanQueries = 0;
};

/// Create it with `new`: whoever ends the command deletes it.
class RecordingConsole : public Tarsel::DcConsole {
 public:
  explicit RecordingConsole(std::shared_ptr<ConsoleLog> log);
  ~RecordingConsole() override;

  void Print(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void VPrint(const char* format, std::va_list arguments) override
      __attribute__((format(printf, 2, 0)));
  void PrintError(const char* text) override;
  void CommandEnd() override;
  unsigned short GetVlan(int argc, char** argv) override;

 private:
  std::shared_ptr<ConsoleLog> m_log;
};

/// A log with the VLAN set, for `new RecordingConsole(log)`.
std::shared_ptr<ConsoleLog> NewConsoleLog(unsigned short vlan = 1);

}  // namespace test_support

#endif
