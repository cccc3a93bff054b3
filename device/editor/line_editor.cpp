// In an event loop the editor must not wait for anything but the start of a step, not even for the rest
// of a key that sends several bytes: the loop is the device's routing.
#include "line_editor.h"

#include <libtecla.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

namespace editor {

namespace {

constexpr std::size_t LINE_SIZE = 4096;
constexpr std::size_t HISTORY_SIZE = 64 * 1024;

// A terminal of which nothing is known gets a prompt all the same.
const char* TerminalType() {
  const char* type = std::getenv("TERM");
  return type && std::strcmp(type, "dumb") != 0 ? type : "vt100";
}

}  // namespace

LineEditor::LineEditor(Completer complete)
    : m_complete(std::move(complete)), m_lines(new_GetLine(LINE_SIZE, HISTORY_SIZE)) {
  if (!m_lines) {
    throw std::bad_alloc();
  }
  gl_change_terminal(m_lines, stdin, stdout, TerminalType());
  gl_customize_completion(m_lines, this, AddMatches);
  gl_automatic_history(m_lines, 0);  // it would keep empty lines too
}

LineEditor::~LineEditor() {
  GiveBack();
  del_GetLine(m_lines);
  if (m_terminal) {
    std::fclose(m_terminal);
  }
}

std::optional<std::string> LineEditor::Read(const std::string& prompt) {
  std::string line;
  if (Take(gl_get_line(m_lines, prompt.c_str(), nullptr, -1), line) != Step::LINE) {
    return std::nullopt;
  }
  return line;
}

Step LineEditor::Advance(const std::string& prompt, std::string& line) {
  if (!m_terminal) {
    UseInLoop();
  }
  return Take(gl_get_line(m_lines, prompt.c_str(), nullptr, -1), line);
}

// Opens the terminal a second time, since non-blocking mode would reach everybody who shares it: the
// log, on standard error, would lose lines.
void LineEditor::UseInLoop() {
  std::array<char, PATH_MAX> name;
  if (ttyname_r(STDIN_FILENO, name.data(), name.size()) == 0) {
    m_terminal = std::fopen(name.data(), "r+");
  }
  if (m_terminal) {
    gl_change_terminal(m_lines, m_terminal, m_terminal, TerminalType());
  }
  gl_io_mode(m_lines, GL_SERVER_MODE);
  sigset_t caught;
  gl_list_signals(m_lines, &caught);
  for (int number = 1; number < NSIG; ++number) {
    if (sigismember(&caught, number) == 1) {
      gl_ignore_signal(m_lines, number);
    }
  }
}

int LineEditor::GetDescriptor() const { return m_terminal ? fileno(m_terminal) : STDIN_FILENO; }

bool LineEditor::IsWriting() const { return gl_pending_io(m_lines) == GLP_WRITE; }

void LineEditor::Resized() { gl_handle_signal(SIGWINCH, m_lines, 1); }

void LineEditor::GiveBack() { gl_normal_io(m_lines); }

Step LineEditor::Take(const char* line, std::string& text) {
  if (!line) {
    return gl_return_status(m_lines) == GLR_BLOCKED ? Step::WAIT : Step::END;
  }
  text = line;
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  if (!text.empty()) {
    gl_append_history(m_lines, text.c_str());
  }
  return Step::LINE;
}

// The caller is C: nothing may be thrown through it.
int LineEditor::AddMatches(WordCompletion* matches, void* editor, const char* line, int end) {
  try {
    const std::string begun(line, static_cast<std::size_t>(end));
    const std::size_t start = begun.rfind(' ') + 1;  // 0 if there is none
    const std::string word = begun.substr(start);
    for (const std::string& match : static_cast<LineEditor*>(editor)->m_complete(begun)) {
      if (match.compare(0, word.size(), word) == 0) {
        cpl_add_completion(matches, line, static_cast<int>(start), end, match.c_str() + word.size(),
                           "", " ");
      }
    }
    return 0;
  } catch (const std::exception& problem) {
    cpl_record_error(matches, problem.what());
    return 1;
  }
}

}  // namespace editor
