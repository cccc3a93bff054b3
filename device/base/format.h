// printf-style formatting without a length limit, for this folder's texts and log lines.
#ifndef DEVICE_BASE_FORMAT_H
#define DEVICE_BASE_FORMAT_H

#include <cstdarg>
#include <string>

namespace Tarsel {

/// Appends the formatted result; appends nothing when `format` is null or the C library refuses it.
/// `arguments` may not be used again without a new va_start.
void AppendFormatted(std::string& text, const char* format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));

}  // namespace Tarsel

#endif
