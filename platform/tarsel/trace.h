// The device's log and its assertion report.
#ifndef TARSEL_TRACE_H
#define TARSEL_TRACE_H

#include "tarsel/export.h"

namespace Tarsel {

/// Logs a printf-style message under a level: 0 is the gravest, 10 the most talkative. Messages end
/// in "\n". What is shown, and where, is the host's decision; a message that is not shown costs no
/// formatting.
TARSEL_API void TRACE(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Logs a printf-style message without a level; such messages are about skipped or invalid
/// configuration and are shown by default.
TARSEL_API void TRACE(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Reports a broken invariant: the expression's text, the source's name and a line. It returns, and
/// the caller goes on.
TARSEL_API void OnAssert(const char* expression, const char* source, int line);

}  // namespace Tarsel

#endif
