// Decimal numbers out of texts.
#ifndef DEVICE_PROGRAM_DECIMAL_H
#define DEVICE_PROGRAM_DECIMAL_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace program {

/// Returns the number that the whole of `text` is, if it is from `low` to `high`, both included;
/// else nothing. The text must consist of digits, at least one: no sign, no blank. Leading zeros
/// are allowed. For options, documents and words of the console; the library has a reader of its
/// own.
std::optional<std::uint32_t> ReadDecimal(std::string_view text, std::uint32_t low,
                                         std::uint32_t high);

}  // namespace program

#endif
