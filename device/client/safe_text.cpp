#include "safe_text.h"

#include <algorithm>

#include "device/program/printable.h"

namespace client {

namespace {

// How many bytes at the end begin a character of UTF-8 that needs more of them.
std::size_t CountBegun(const std::string& text) {
  for (std::size_t count = 1; count <= std::min<std::size_t>(text.size(), 3); ++count) {
    const unsigned byte = static_cast<unsigned char>(text[text.size() - count]);
    if (byte >= 0xC0) {
      const std::size_t size = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
      return size > count ? count : 0;
    }
    if (byte < 0x80) {
      break;
    }
  }
  return 0;
}

}  // namespace

std::string SafeText::Take(std::string piece) {
  if (m_begun.empty() && program::IsPlain(piece)) {
    return piece;
  }
  std::string text = m_begun + piece;
  const std::size_t size = text.size() - CountBegun(text);
  m_begun = text.substr(size);
  text.resize(size);
  return program::PrintableLines(text);
}

std::string SafeText::TakeRest() {
  const std::string rest = program::PrintableLines(m_begun);
  m_begun.clear();
  return rest;
}

}  // namespace client
