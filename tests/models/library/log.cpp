#include "log.h"

#include <cstdarg>
#include <cstdio>

namespace library_model {

namespace {

std::string Formatted(const char* format, std::va_list arguments) {
  char buffer[2048];
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  return buffer;
}

}  // namespace

std::string Text(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = Formatted(format, arguments);
  va_end(arguments);
  return text;
}

void Log::Add(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  lines.push_back(Formatted(format, arguments));
  va_end(arguments);
}

void Log::Trace(int level, const std::string& message) {
  lines.push_back("message " + (level < 0 ? "-" : std::to_string(level)) + ": " + message);
}

void Log::Assertion(const char* expression, const char* source, int line) {
  // The lines of assertions are the library's own affair but for one that is fixed.
  const bool fixed = std::string(source) == "dcrouter_api";
  Add("assertion %s|%s|%d", expression, source, fixed ? line : 0);
}

void Log::Console(int console, const char* stream, const std::string& text) {
  if (text.empty()) {
    return;
  }
  const std::string head = Text("console %d %s: ", console, stream);
  if (!lines.empty() && lines.back().compare(0, head.size(), head) == 0) {
    lines.back() += text;
  } else {
    lines.push_back(head + text);
  }
}

}  // namespace library_model
