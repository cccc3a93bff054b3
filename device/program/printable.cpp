#include "device/program/printable.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace program {

namespace {

constexpr std::size_t MAX_QUOTED = 60;

unsigned ByteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// Characters that are not seen and change the order in which a terminal shows those around them.
bool IsDirection(unsigned code) {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

// The size in bytes of the character that begins at `at`; 0 for a control character (U+0000 to
// U+001F, U+007F to U+009F), for one of text direction, and for bytes that are not UTF-8.
std::size_t SizeOfCharacter(std::string_view text, std::size_t at) {
  // Of two bytes that are not a control character, of three, of four.
  constexpr unsigned LOWEST[] = {0xA0, 0x800, 0x10000};
  const unsigned lead = ByteAt(text, at);
  if (lead < 0x80) {
    return lead >= 0x20 && lead != 0x7F ? 1 : 0;
  }
  if (lead < 0xC2 || lead > 0xF4) {
    return 0;
  }
  const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  unsigned code = lead & (0x7Fu >> size);
  for (std::size_t i = 1; i < size; ++i) {
    const unsigned next = ByteAt(text, at + i);
    if ((next & 0xC0) != 0x80) {
      return 0;
    }
    code = code << 6 | (next & 0x3F);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool isCharacter = code >= LOWEST[size - 2] && code <= 0x10FFFF && !isSurrogate;
  return isCharacter && !IsDirection(code) ? size : 0;
}

// Whether each of eight bytes is from 0x20 to 0x7E. A byte of ASCII sets its highest bit in the sum
// if it is 0x7F, and in the difference if it is below 0x20; a carry comes from a byte that does not
// pass.
bool ArePrintable(std::uint64_t eight) {
  constexpr std::uint64_t EACH = 0x0101010101010101;
  return ((eight | (eight + EACH) | (eight - 0x20 * EACH)) & (0x80 * EACH)) == 0;
}

bool IsEachPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte <= 0x7E) || c == '\n' || c == '\t';
  });
}

// The first `end` bytes; the control characters in `kept` stay.
std::string Escape(std::string_view text, std::size_t end, std::string_view kept) {
  std::string printable;
  printable.reserve(end);
  for (std::size_t at = 0; at < end;) {
    const bool isKept = kept.find(text[at]) != std::string_view::npos;
    const std::size_t size = isKept ? 1 : SizeOfCharacter(text, at);
    if (at + size > end) {
      break;  // half a character is none
    }
    if (size == 0) {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", ByteAt(text, at));
      printable += escaped;
    } else {
      printable.append(text, at, size);
    }
    at += std::max<std::size_t>(size, 1);
  }
  return printable;
}

}  // namespace

std::string Printable(const std::string& text, std::size_t most) {
  return Escape(text, std::min(text.size(), most), "");
}

std::string PrintableLines(std::string_view text) {
  return IsPlain(text) ? std::string(text) : Escape(text, text.size(), "\n\t");
}

// Eight bytes at a time. Those that have an end of a line, a tab or anything strange among them are
// looked at one by one.
bool IsPlain(std::string_view text) {
  std::size_t at = 0;
  for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, sizeof eight);
    if (!ArePrintable(eight) && !IsEachPlain(text.substr(at, sizeof eight))) {
      return false;
    }
  }
  return IsEachPlain(text.substr(at));
}

std::string Quote(const std::string& text) {
  return "\"" + Printable(text, MAX_QUOTED) + (text.size() > MAX_QUOTED ? "...\"" : "\"");
}

}  // namespace program
