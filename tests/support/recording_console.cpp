#include "tests/support/recording_console.h"

#include <cstdio>
#include <utility>

namespace test_support {

std::shared_ptr<ConsoleLog> NewConsoleLog(unsigned short vlan) {
  auto log = std::make_shared<ConsoleLog>();
  log->vlan = vlan;
  return log;
}

RecordingConsole::RecordingConsole(std::shared_ptr<ConsoleLog> log) : m_log(std::move(log)) {}

RecordingConsole::~RecordingConsole() { m_log->destroyed = true; }

void RecordingConsole::Print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  VPrint(format, arguments);
  va_end(arguments);
}

void RecordingConsole::VPrint(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  if (length > 0) {
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
    m_log->output += text;
    m_log->all += text;
  }
  va_end(again);
}

void RecordingConsole::PrintError(const char* text) {
  m_log->errors += text;
  m_log->all += text;
}

void RecordingConsole::CommandEnd() { ++m_log->ends; }

unsigned short RecordingConsole::GetVlan(int, char**) {
  ++m_log->vlanQueries;
  return m_log->vlan;
}

}  // namespace test_support
