// What the log says of lines that were lost.
#ifndef DEVICE_LOGGING_LOST_LINES_H
#define DEVICE_LOGGING_LOST_LINES_H

#include <array>
#include <cstdint>
#include <string_view>

namespace logging {

/// Lines that could not be written, until somebody can be told. Needs no memory.
class LostLines {
 public:
  /// `text` was lost; `problem` is errno. A text without an end of line counts as one line.
  void Add(std::string_view text, int problem);
  bool IsEmpty() const { return m_count == 0; }
  void Clear() { m_count = 0; }
  /// So far, those included that somebody has been told of.
  std::uint64_t CountAll() const { return m_all; }

  /// Returns the line that tells of them, valid until the next call. `isMidLine`: the line before
  /// it has no end yet. `prefix` stands before the text.
  std::string_view Format(bool isMidLine, const char* prefix);

 private:
  std::uint64_t m_count = 0;
  std::uint64_t m_all = 0;
  int m_problem = 0;
  std::array<char, 512> m_text{};
};

}  // namespace logging

#endif
