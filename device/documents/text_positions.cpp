#include "text_positions.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace documents {

TextPositions::TextPositions(std::string_view text) : m_text(text) {
  if (m_text.substr(0, 3) == "\xEF\xBB\xBF") {
    m_next = 3;
  }
}

// Most of a text is passed over line by line; characters are counted in the lines that are asked for.
Position TextPositions::Find(std::size_t offset) {
  const std::size_t end = std::min(offset, m_text.size());
  while (m_next < end) {
    const void* const newline = std::memchr(m_text.data() + m_next, '\n', end - m_next);
    if (newline == nullptr) {
      break;
    }
    m_next = static_cast<std::size_t>(static_cast<const char*>(newline) - m_text.data()) + 1;
    ++m_position.line;
    m_position.column = 1;
  }
  for (; m_next < end; ++m_next) {
    const bool begins = (static_cast<unsigned char>(m_text[m_next]) & 0xC0) != 0x80;
    m_position.column += begins ? 1 : 0;
  }
  return m_position;
}

}  // namespace documents
