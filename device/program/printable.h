// Makes texts of any origin safe for an operator's terminal.
#ifndef DEVICE_PROGRAM_PRINTABLE_H
#define DEVICE_PROGRAM_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace program {

/// The first `most` bytes of `text`, safe for a terminal: control characters, characters that
/// change the direction of text (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069) and
/// bytes that are not UTF-8 become \xNN, byte by byte. A character that the limit would cut in two
/// is left out.
std::string Printable(const std::string& text, std::size_t most);

/// The whole of `text` in the same way, except that ends of lines and tabs stay: for output that
/// may quote a document or a command. A piece of output must hold whole characters.
std::string PrintableLines(std::string_view text);

/// Whether `text` has printable ASCII characters, ends of lines and tabs only: PrintableLines
/// changes nothing of it. Most output is so, and needs no copy.
bool IsPlain(std::string_view text);

/// `text` in quotes, made safe by Printable and cut to a length that keeps a line readable.
std::string Quote(const std::string& text);

}  // namespace program

#endif
