// The log and the assertion report. One process has one log, so its state is static; it is never
// destroyed, because the library's singletons may still write while the process ends.
#include "tarsel/trace.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "device/base/trace_control.h"
#include "format.h"
#include "trace_sources.h"

namespace Tarsel {

namespace {

std::array<int, TRACE_SOURCES> g_levels = {1, 1, 1, 1};
int g_highest = 1;                    // of them: most messages are above it
TraceSource g_source = TRACE_OTHERS;  // of what a sink is taking

struct Sinks {
  TraceSink trace;
  AssertSink assertion;
};

Sinks& GetSinks() {
  static Sinks& sinks = *new Sinks;
  return sinks;
}

/// While it lives, a sink takes something of this source. A sink may write messages itself.
class Taking {
 public:
  explicit Taking(TraceSource source) : m_before(std::exchange(g_source, source)) {}
  Taking(const Taking&) = delete;
  Taking& operator=(const Taking&) = delete;
  ~Taking() { g_source = m_before; }

 private:
  const TraceSource m_before;
};

void Write(TraceSource source, int level, const char* format, std::va_list arguments)
    __attribute__((format(printf, 3, 0)));

void Write(TraceSource source, int level, const char* format, std::va_list arguments) {
  std::string message;
  AppendFormatted(message, format, arguments);
  const Sinks& sinks = GetSinks();
  if (sinks.trace) {
    const Taking taking(source);
    sinks.trace(level, message);
  } else {
    std::fwrite(message.data(), 1, message.size(), stderr);
  }
}

}  // namespace

void TRACE(int level, const char* format, ...) {
  if (level > g_highest) {
    return;
  }
  const TraceSource source = SourceOf(format);
  if (level > g_levels[source]) {
    return;
  }
  std::va_list arguments;
  va_start(arguments, format);
  Write(source, level, format, arguments);
  va_end(arguments);
}

void TRACE(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  Write(SourceOf(format), TRACE_NO_LEVEL, format, arguments);
  va_end(arguments);
}

void OnAssert(const char* expression, const char* source, int line) {
  const Taking taking(SourceOf(expression));
  expression = expression != nullptr ? expression : "";
  source = source != nullptr ? source : "";
  const Sinks& sinks = GetSinks();
  if (sinks.assertion) {
    sinks.assertion(expression, source, line);
  } else {
    std::fprintf(stderr, "Assertion failed: %s (%s:%d)\n", expression, source, line);
  }
}

TraceSource GetTraceSource() { return g_source; }

void SetTraceLevel(TraceSource source, int level) {
  g_levels[source] = level;
  g_highest = *std::max_element(g_levels.begin(), g_levels.end());
}

void SetTraceLevel(int level) {
  g_levels.fill(level);
  g_highest = level;
}

int GetTraceLevel(TraceSource source) { return g_levels[source]; }

TraceSink SetTraceSink(TraceSink sink) { return std::exchange(GetSinks().trace, std::move(sink)); }

void SetAssertSink(AssertSink sink) { GetSinks().assertion = std::move(sink); }

}  // namespace Tarsel
