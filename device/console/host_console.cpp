#include "host_console.h"

#include <array>
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

// Hands the text to `take`. A row of a table fits the buffer, and is formatted once.
template <class Take>
__attribute__((format(printf, 1, 0))) void Format(const char* format, std::va_list arguments,
                                                  Take take) {
  std::va_list again;
  va_copy(again, arguments);
  std::array<char, 512> buffer;
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  const auto size = static_cast<std::size_t>(length < 0 ? 0 : length);
  if (size < buffer.size()) {
    take(std::string_view(buffer.data(), size));
  } else {
    std::string text(size + 1, '\0');
    std::vsnprintf(&text[0], text.size(), format, again);
    take(std::string_view(text.data(), size));
  }
  va_end(again);
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
  Guard([&] {
    Format(format, arguments, [this](std::string_view text) { m_command->Write(text); });
  });
}

void HostConsole::PrintError(const char* text) {
  Guard([&] { m_command->Write(text); });
}

void HostConsole::CommandEnd() {
  Guard([this] { m_command->End(); });
}

unsigned short HostConsole::GetVlan(int, char**) { return m_command->GetVlan(); }

}  // namespace console
