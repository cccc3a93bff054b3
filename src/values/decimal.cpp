#include "decimal.h"

namespace Tarsel {

namespace {

constexpr std::uint32_t LARGEST = 0xFFFFFFFFu;

// The C locale's white space: what a document means must not depend on the host's locale.
bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::uint32_t ReadDecimal(const char* text, const char** end) {
  const char* p = text;
  while (IsSpace(*p)) {
    ++p;
  }
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') {
    ++p;
  }
  *end = IsDigit(*p) ? p : text;
  std::uint64_t magnitude = 0;
  for (; IsDigit(*p); *end = ++p) {
    if (magnitude <= LARGEST) {
      magnitude = magnitude * 10 + static_cast<unsigned>(*p - '0');
    }
  }
  if (magnitude > LARGEST) {
    return LARGEST;
  }
  const auto value = static_cast<std::uint32_t>(magnitude);
  return negative ? 0u - value : value;
}

}  // namespace Tarsel
