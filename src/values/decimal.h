// How the library reads decimal numbers from texts.
#ifndef SRC_VALUES_DECIMAL_H
#define SRC_VALUES_DECIMAL_H

#include <cstdint>

namespace Tarsel {

/// Reads like strtoul in base 10 where long has 32 bits, on every machine: leading white space and
/// a sign are accepted, a magnitude beyond 32 bits gives 4294967295, any other negative number is
/// negated modulo 2^32. `*end` is the character after the number; without a digit the number is 0
/// and `*end` is `text`.
std::uint32_t ReadDecimal(const char* text, const char** end);

}  // namespace Tarsel

#endif
