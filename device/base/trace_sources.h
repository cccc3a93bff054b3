// Who writes a message: whose shared object holds its text.
#ifndef DEVICE_BASE_TRACE_SOURCES_H
#define DEVICE_BASE_TRACE_SOURCES_H

#include "trace_control.h"

namespace Tarsel {

/// The source of a message with this format, or of an assertion with this expression.
TraceSource SourceOf(const char* text);

}  // namespace Tarsel

#endif
