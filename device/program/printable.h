// Texts from anywhere, for an operator's terminal.
#ifndef DEVICE_PROGRAM_PRINTABLE_H
#define DEVICE_PROGRAM_PRINTABLE_H

#include <cstddef>
#include <string>

namespace program {

/// At most `most` bytes of `text`, as UTF-8 whatever they are: those that a terminal would act on and
/// those that are no UTF-8 as \xNN.
std::string Printable(const std::string& text, std::size_t most);

/// `text` in quotes, cut to a length that leaves a line readable, without characters that a terminal
/// would act on.
std::string Quote(const std::string& text);

}  // namespace program

#endif
