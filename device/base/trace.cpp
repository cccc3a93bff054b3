// The log and the assertion report. One process has one log, so its state is static; it is never
// destroyed, because the library's singletons may still write while the process ends.
#include "tarsel/trace.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "device/base/trace_control.h"
#include "format.h"

namespace Tarsel {

namespace {

int g_level = 1;

struct Sinks {
  TraceSink trace;
  AssertSink assertion;
};

Sinks& GetSinks() {
  static Sinks& sinks = *new Sinks;
  return sinks;
}

void Write(int level, const char* format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));

void Write(int level, const char* format, std::va_list arguments) {
  std::string message;
  AppendFormatted(message, format, arguments);
  const Sinks& sinks = GetSinks();
  if (sinks.trace) {
    sinks.trace(level, message);
  } else {
    std::fwrite(message.data(), 1, message.size(), stderr);
  }
}

}  // namespace

void TRACE(int level, const char* format, ...) {
  if (level > g_level) {
    return;
  }
  std::va_list arguments;
  va_start(arguments, format);
  Write(level, format, arguments);
  va_end(arguments);
}

void TRACE(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  Write(TRACE_NO_LEVEL, format, arguments);
  va_end(arguments);
}

void OnAssert(const char* expression, const char* source, int line) {
  expression = expression != nullptr ? expression : "";
  source = source != nullptr ? source : "";
  const Sinks& sinks = GetSinks();
  if (sinks.assertion) {
    sinks.assertion(expression, source, line);
  } else {
    std::fprintf(stderr, "Assertion failed: %s (%s:%d)\n", expression, source, line);
  }
}

void SetTraceLevel(int level) { g_level = level; }

int GetTraceLevel() { return g_level; }

TraceSink SetTraceSink(TraceSink sink) { return std::exchange(GetSinks().trace, std::move(sink)); }

void SetAssertSink(AssertSink sink) { GetSinks().assertion = std::move(sink); }

}  // namespace Tarsel
