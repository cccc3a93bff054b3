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

/// Messages with a level above `level` are not formatted and not shown. Messages without a level
/// are always shown. The default is 1.
TARSEL_API void SetTraceLevel(int level);
/// The level as last set, 1 before.
TARSEL_API int GetTraceLevel();
/// Sends messages to `sink`; an empty one restores the default, standard error. Returns the
/// previous sink, empty for the default.
TARSEL_API TraceSink SetTraceSink(TraceSink sink);
/// The same for assertions; it returns nothing.
TARSEL_API void SetAssertSink(AssertSink sink);

}  // namespace Tarsel

#endif
