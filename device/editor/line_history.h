// The lines that an operator has entered, kept in a file from one run to the next.
#ifndef DEVICE_EDITOR_LINE_HISTORY_H
#define DEVICE_EDITOR_LINE_HISTORY_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace editor {

/// A convenience, which hinders nobody: a file that is missing, damaged, or cannot be read or
/// written counts as none, and nothing is said about it. So does one that is not the user's own
/// regular file, because somebody else could have put it there. Several processes may share the
/// file: each adds its own lines to what is there when it saves.
class LineHistory {
 public:
  /// The most lines that the file keeps.
  static constexpr std::size_t MOST_LINES = 500;
  /// The longest line that is kept, in bytes.
  static constexpr std::size_t MOST_BYTES = 4095;

  /// Returns the folder for the file: `$XDG_STATE_HOME/vantacore`, or
  /// `$HOME/.local/state/vantacore`. Returns the empty text if neither variable is an absolute
  /// path.
  static std::string FindFolder();

  /// The file is `history` in `folder`, which is created when it is needed. An empty `folder`
  /// keeps nothing. Nothing is read or written yet.
  explicit LineHistory(std::string folder) : m_folder(std::move(folder)) {}

  /// Returns the lines of the file, the oldest first, MOST_LINES at most. What no operator can have
  /// entered is left out.
  std::vector<std::string> Load() const;
  /// Notes a line for Save(). One that repeats the line before it is not noted.
  void Add(const std::string& line);
  /// Adds the noted lines to the file, and forgets them. The oldest lines beyond MOST_LINES go. May
  /// wait half a second for another process that saves.
  void Save();

 private:
  const std::string m_folder;
  std::vector<std::string> m_added;
};

}  // namespace editor

#endif
