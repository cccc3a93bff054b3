// The simplest command, for the tests of the base.
#ifndef TESTS_UNIT_CONSOLE_PLAIN_COMMAND_H
#define TESTS_UNIT_CONSOLE_PLAIN_COMMAND_H

#include <functional>
#include <memory>

#include "tests/support/recording_console.h"
#include "vantacore/dc_console_command.h"

namespace console_test {

/// Shows what the base keeps to its subclasses, and answers rows as the test says.
class PlainCommand : public Tarsel::DcConsoleCommand {
 public:
  using DcConsoleCommand::DcConsoleCommand;
  ~PlainCommand() override {
    if (destroyed != nullptr) {
      *destroyed = true;
    }
  }

  bool Parse(int, char**) override { return true; }
  unsigned int Display(unsigned int context, unsigned int result, const void* row) override {
    const auto answer = display;  // the command may be gone before the answer is out
    return answer ? answer(context, result, row) : DcConsoleCommand::Display(context, result, row);
  }

  Tarsel::DcConsole* GetConsole() const { return m_console; }
  unsigned short GetMark() const { return m_mark; }
  unsigned short GetVlan() const { return m_vlan; }
  const char* GetUsage() const { return m_usage; }
  const char* GetDescription() const { return m_description; }

  std::function<unsigned int(unsigned int, unsigned int, const void*)> display;
  bool* destroyed = nullptr;
};

/// A command with a console whose log is at hand.
struct CommandWithLog {
  explicit CommandWithLog(unsigned short vlan = 1)
      : log(test_support::NewConsoleLog()),
        command(new PlainCommand(new test_support::RecordingConsole(log), vlan, "the usage",
                                 "the description")) {}

  std::shared_ptr<test_support::ConsoleLog> log;
  std::unique_ptr<PlainCommand> command;
};

}  // namespace console_test

#endif
