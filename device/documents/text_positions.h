// From offsets in a text to lines and columns.
#ifndef DEVICE_DOCUMENTS_TEXT_POSITIONS_H
#define DEVICE_DOCUMENTS_TEXT_POSITIONS_H

#include <cstddef>
#include <string_view>

#include "place.h"

namespace documents {

/// Finds positions in one pass over the text, so they have to be asked for in the order of their
/// offsets. A byte-order mark at the beginning is not counted. The text is borrowed.
class TextPositions {
 public:
  explicit TextPositions(std::string_view text);

  /// Where the character at `offset` is. An offset before the one asked for last counts as that one.
  Position Find(std::size_t offset);

 private:
  const std::string_view m_text;
  std::size_t m_next = 0;  // what comes before it has been counted
  Position m_position{1, 1};
};

}  // namespace documents

#endif
