#include "format.h"

#include <cstdio>

namespace Tarsel {

void AppendFormatted(std::string& text, const char* format, std::va_list arguments) {
  if (format == nullptr) {
    return;
  }
  // Nearly all texts fit, and then they are formatted once.
  char buffer[512];
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) < sizeof buffer) {
    text.append(buffer, static_cast<std::size_t>(length));
  } else if (length >= 0) {
    const std::size_t before = text.size();
    text.resize(before + static_cast<std::size_t>(length) + 1);
    std::vsnprintf(&text[before], static_cast<std::size_t>(length) + 1, format, again);
    text.pop_back();
  }
  va_end(again);
}

}  // namespace Tarsel
