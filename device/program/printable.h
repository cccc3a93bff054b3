// Texts from anywhere, for an operator's terminal.
#ifndef DEVICE_PROGRAM_PRINTABLE_H
#define DEVICE_PROGRAM_PRINTABLE_H

#include <cstddef>
#include <string>

namespace program {

/// The first `most` bytes of `text`, safe for a terminal: control characters and bytes that are not
/// UTF-8 become \xNN. A character that the limit would cut in two is left out.
std::string Printable(const std::string& text, std::size_t most);

/// `text` in quotes, cut to a length that leaves a line readable, without characters that a terminal
/// would act on.
std::string Quote(const std::string& text);

}  // namespace program

#endif
