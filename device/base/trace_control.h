// Where the device's log goes and how much of it is shown.
#ifndef DEVICE_BASE_TRACE_CONTROL_H
#define DEVICE_BASE_TRACE_CONTROL_H

#include <functional>
#include <string>

#include "tarsel/export.h"

namespace Tarsel {

/// The level that a sink is given for a message without a level.
constexpr int TRACE_NO_LEVEL = -1;

/// Takes each message that is shown, with its level (TRACE_NO_LEVEL for none). It is called from
/// inside the library, so it must not throw.
using TraceSink = std::function<void(int level, const std::string& message)>;
/// Takes each assertion that fails: its text, the source's name and the line; none is null.
using AssertSink = std::function<void(const char* expression, const char* source, int line)>;

/// Who writes a message, by the shared object that has its text: 1 to TRACE_SOURCES - 1 as the host
/// has named them, TRACE_OTHERS for the rest.
using TraceSource = unsigned int;
constexpr TraceSource TRACE_OTHERS = 0;
constexpr TraceSource TRACE_SOURCES = 4;

/// The messages of a shared object come from `source` from now on; 1 to TRACE_SOURCES - 1, of one
/// object each. `object` is the name of its file, whatever version follows it: "libfar.so". Returns
/// false if the process has not loaded it; then nothing changes.
TARSEL_API bool NameTraceSource(const char* object, TraceSource source);
/// Whose message or assertion it is that a sink is taking; for calls from inside a sink.
TARSEL_API TraceSource GetTraceSource();

/// Messages with a level above `level` are not formatted and not shown. Messages without a level
/// are always shown. The default is 1. Of one source, or of all.
TARSEL_API void SetTraceLevel(TraceSource source, int level);
TARSEL_API void SetTraceLevel(int level);
/// The level of a source as last set, 1 before.
TARSEL_API int GetTraceLevel(TraceSource source = TRACE_OTHERS);
/// Sends messages to `sink`; an empty one restores the default, standard error. Returns the
/// previous sink, empty for the default.
TARSEL_API TraceSink SetTraceSink(TraceSink sink);
/// The same for assertions; it returns nothing.
TARSEL_API void SetAssertSink(AssertSink sink);

}  // namespace Tarsel

#endif
