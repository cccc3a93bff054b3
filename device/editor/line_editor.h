// A line that an operator edits on the terminal, with a history and completion.
#ifndef DEVICE_EDITOR_LINE_EDITOR_H
#define DEVICE_EDITOR_LINE_EDITOR_H

#include <termios.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "line_history.h"

struct GetLine;
struct WordCompletion;

namespace editor {

/// Returns the words that may stand at the end of the line that the operator has begun.
using Completer = std::function<std::vector<std::string>(const std::string& begun)>;

/// The result of a step.
enum class Step {
  LINE,         // a line is complete
  HELP,         // the operator asks what may follow what stands before the cursor
  DROPPED,      // Ctrl-C has dropped a line that had been begun
  INTERRUPTED,  // Ctrl-C on an empty line
  WAIT,         // more has to be typed, or shown, first
  END,          // no line will come
};

/// Edits a line on the terminal of standard input and keeps the history, from one run to the next
/// (line_history.h). A process uses one editor, either by Read() or by Advance(). A line has 4095
/// bytes at most, as on a terminal without an editor.
///
/// After HELP the terminal is the caller's to print on; the next step shows the line again, and
/// goes on with it. The question itself does not come into the line; Ctrl-V before it makes it an
/// ordinary character.
class LineEditor {
 public:
  /// Loads the history. Throws std::bad_alloc if memory is short.
  explicit LineEditor(Completer complete);
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;
  /// Restores the terminal, and saves the history.
  ~LineEditor();

  /// Waits for a line. Sets `line` if it returns LINE or HELP; never returns WAIT. Of the signals,
  /// SIGINT is what Ctrl-C sends; the others end the process as they would without an editor, and
  /// the terminal is restored first. It is always restored on return.
  Step Read(const std::string& prompt, std::string& line);

  /// Goes on with what has been typed meanwhile; never waits. Takes the terminal first if it has
  /// been given back. Sets `line` as Read() does. After WAIT, call again when GetDescriptor() is
  /// readable, or writable if IsWriting(). Ctrl-C is a key here; signals are left to the caller.
  Step Advance(const std::string& prompt, std::string& line);
  int GetDescriptor() const;
  bool IsWriting() const;
  /// Call it after every SIGWINCH, before the next step.
  void Resized();
  /// Restores the terminal until the next step, which goes on with the line. A second call does
  /// nothing.
  void GiveBack();
  /// Drops what has been typed: the next step begins a new line.
  void Forget();
  /// Takes the line off the terminal and gives that back, so that something else may be written
  /// there; the next step shows the line again. Of a line that is wider than the terminal the rows
  /// above the cursor stay. Never waits: returns false, and has done nothing, if no line is being
  /// edited, if the terminal takes no output, or if it is a serial line, whose mode cannot be
  /// changed while it is stopped.
  bool StepAside();
  /// Whether a line is being edited: the terminal is set so that an end of line takes a carriage
  /// return as well.
  bool IsShown() const { return m_isShown; }

 private:
  static int AddMatches(WordCompletion* matches, void* editor, const char* line, int end);
  int Ask(const char* line, std::size_t cursor);
  int DropLine(const char* line);
  void BindKeys();
  void UseInLoop();
  void DisableInterruptKey();
  Step Edit(const std::string& prompt, std::string& line);
  Step Take(const char* line, std::string& text);

  const Completer m_complete;
  LineHistory m_history;
  GetLine* m_lines;
  std::FILE* m_terminal = nullptr;
  std::optional<termios> m_settings;  // of the terminal, while its interrupt key is disabled
  // How the step ends that is in progress, and where the next one goes on.
  Step m_end = Step::LINE;
  std::string m_begun;
  int m_cursor = -1;
  bool m_isShown = false;  // between two steps in a loop
};

}  // namespace editor

#endif
