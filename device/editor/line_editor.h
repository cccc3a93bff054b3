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

/// The words that may stand where a line ends that the operator has begun.
using Completer = std::function<std::vector<std::string>(const std::string& begun)>;

/// What became of a step: a line is there, more has to be typed (or shown) first, or no line will come.
enum class Step { LINE, WAIT, END };

/// Edits on the terminal of standard input. A process uses one editor, either by Read() or by
/// Advance(); the history is in it. A line has 4095 bytes at most, as on a terminal without an editor.
class LineEditor {
 public:
  /// Throws std::bad_alloc when there is no memory for it.
  explicit LineEditor(Completer complete);
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;
  /// Gives the terminal back as it was.
  ~LineEditor();

  /// Waits for a line; nothing at the end of the input. An interrupt ends the process as it would
  /// without an editor, and leaves the terminal as it was.
  std::optional<std::string> Read(const std::string& prompt);

  /// Edits on with what has been typed meanwhile; never waits. Takes the terminal first if it has been
  /// given back. `line` is set with LINE. After WAIT, call again when GetDescriptor() is readable, or
  /// writable if IsWriting(). Signals are left to the caller.
  Step Advance(const std::string& prompt, std::string& line);
  int GetDescriptor() const;
  bool IsWriting() const;
  /// To be told of every SIGWINCH, before the next step.
  void Resized();
  /// The terminal is as it was until the next step, which goes on with the line. A second call does nothing.
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
