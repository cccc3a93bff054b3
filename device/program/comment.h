// Comments in scripts of console commands.
#ifndef DEVICE_PROGRAM_COMMENT_H
#define DEVICE_PROGRAM_COMMENT_H

#include <string_view>

namespace program {

/// Whether a line of a script is a comment: its first character that is not a blank is `#` or `!`.
inline bool IsComment(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t");
  return first != std::string_view::npos && (line[first] == '#' || line[first] == '!');
}

}  // namespace program

#endif
