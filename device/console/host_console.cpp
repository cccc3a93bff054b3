#include "host_console.h"

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "tarsel/trace.h"

namespace console {

namespace {

template <class Action>
void Guard(Action action) {
  try {
    action();
  } catch (const std::exception& problem) {
    Tarsel::TRACE(0, "Console output is lost: %s\n", problem.what());
  }
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format,
                                                         std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(&text[0], text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

}  // namespace

HostConsole::HostConsole(std::shared_ptr<RunningCommand> command) : m_command(std::move(command)) {}

HostConsole::~HostConsole() {
  Guard([this] { m_command->LoseConsole(); });
}

void HostConsole::Print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  VPrint(format, arguments);
  va_end(arguments);
}

void HostConsole::VPrint(const char* format, std::va_list arguments) {
  Guard([&] { m_command->Write(Format(format, arguments)); });
}

void HostConsole::PrintError(const char* text) {
  Guard([&] { m_command->Write(text); });
}

void HostConsole::CommandEnd() {
  Guard([this] { m_command->End(); });
}

unsigned short HostConsole::GetVlan(int, char**) { return m_command->GetVlan(); }

}  // namespace console
