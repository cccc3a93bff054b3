// Where the device's log goes and how much of it is shown.
#ifndef DEVICE_BASE_TRACE_CONTROL_H
#define DEVICE_BASE_TRACE_CONTROL_H

#include <functional>
#include <string>

#include "tarsel/export.h"

namespace Tarsel {

/// The level under which a message without a level is handed on.
constexpr int TRACE_NO_LEVEL = -1;

/// Takes each message that is shown, with its level. Assertions have a sink of their own.
using TraceSink = std::function<void(int level, const std::string& message)>;
using AssertSink = std::function<void(const char* expression, const char* source, int line)>;

/// Messages with a level above `level` are not formatted and not shown. Messages without a level
/// are always shown. The default is 1.
TARSEL_API void SetTraceLevel(int level);
TARSEL_API int GetTraceLevel();
/// An empty sink restores the default, standard error. Returns the previous sink, empty for the
/// default.
TARSEL_API TraceSink SetTraceSink(TraceSink sink);
TARSEL_API void SetAssertSink(AssertSink sink);

}  // namespace Tarsel

#endif
