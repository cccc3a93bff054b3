// A line that an operator edits on the terminal, with a history and completion.
#ifndef DEVICE_EDITOR_LINE_EDITOR_H
#define DEVICE_EDITOR_LINE_EDITOR_H

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct GetLine;
struct WordCompletion;

namespace editor {

/// Returns the words that may stand at the end of the line that the operator has begun.
using Completer = std::function<std::vector<std::string>(const std::string& begun)>;

/// The result of a step: a line is complete, more has to be typed (or shown) first, or no line will
/// come.
enum class Step { LINE, WAIT, END };

/// Edits a line on the terminal of standard input and keeps the history. A process uses one editor,
/// either by Read() or by Advance(). A line has 4095 bytes at most, as on a terminal without an
/// editor.
class LineEditor {
 public:
  /// Throws std::bad_alloc if memory is short.
  explicit LineEditor(Completer complete);
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;
  /// Restores the terminal.
  ~LineEditor();

  /// Waits for a line and returns it; returns nothing at the end of the input. An interrupt ends
  /// the process as it would without an editor, and the terminal is restored first.
  std::optional<std::string> Read(const std::string& prompt);

  /// Goes on with what has been typed meanwhile; never waits. Takes the terminal first if it has
  /// been given back. Sets `line` if it returns LINE. After WAIT, call again when GetDescriptor()
  /// is readable, or writable if IsWriting(). Signals are left to the caller.
  Step Advance(const std::string& prompt, std::string& line);
  int GetDescriptor() const;
  bool IsWriting() const;
  /// Call it after every SIGWINCH, before the next step.
  void Resized();
  /// Restores the terminal until the next step, which goes on with the line. A second call does
  /// nothing.
  void GiveBack();

 private:
  static int AddMatches(WordCompletion* matches, void* editor, const char* line, int end);
  void UseInLoop();
  Step Take(const char* line, std::string& text);

  const Completer m_complete;
  GetLine* m_lines;
  std::FILE* m_terminal = nullptr;
};

}  // namespace editor

#endif
