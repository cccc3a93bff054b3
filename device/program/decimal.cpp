#include "device/program/decimal.h"

#include <charconv>
#include <system_error>

namespace program {

// For an unsigned number from_chars takes no sign, and it never takes blanks.
std::optional<std::uint32_t> ReadDecimal(std::string_view text, std::uint32_t low,
                                         std::uint32_t high) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < low || number > high) {
    return std::nullopt;
  }
  return number;
}

}  // namespace program
