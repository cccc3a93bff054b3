// In an event loop the editor must not wait for anything but the start of a step, not even for the rest
// of a key that sends several bytes: the loop is the device's routing.
#include "line_editor.h"

#include <libtecla.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

namespace editor {

namespace {

constexpr std::size_t LINE_SIZE = 4096;
constexpr std::size_t HISTORY_SIZE = 64 * 1024;
constexpr cc_t CONTROL_C = 3;
constexpr std::string_view ERASE_BELOW = "\r\033[J";
constexpr std::string_view ROW_UP = "\033[A";

// What terminals send for keys of which the library knows nothing: it would put these bytes into the line.
constexpr const char* KEYS =
    "bind M-[H beginning-of-line\n"
    "bind M-OH beginning-of-line\n"
    "bind M-[1~ beginning-of-line\n"
    "bind M-[7~ beginning-of-line\n"
    "bind M-[F end-of-line\n"
    "bind M-OF end-of-line\n"
    "bind M-[4~ end-of-line\n"
    "bind M-[8~ end-of-line\n"
    "bind M-[2~ insert-mode\n"
    "bind M-[3~ forward-delete-char\n"
    "bind M-[5~ history-search-backward\n"
    "bind M-[6~ history-search-forward\n"
    "bind M-[1;5C forward-word\n"
    "bind M-[1;5D backward-word\n"
    "bind M-[1;3C forward-word\n"
    "bind M-[1;3D backward-word\n"
    "bind ^R history-search-backward\n";
constexpr const char* OWN_KEYS_FILE = "~/.teclarc";  // the library's own, which has the last word

// A terminal of which nothing is known gets a prompt all the same.
const char* TerminalType() {
  const char* type = std::getenv("TERM");
  return type && std::strcmp(type, "dumb") != 0 ? type : "vt100";
}

}  // namespace

LineEditor::LineEditor(Completer complete)
    : m_complete(std::move(complete)),
      m_history(LineHistory::FindFolder()),
      m_lines(new_GetLine(LINE_SIZE, HISTORY_SIZE)) {
  if (!m_lines) {
    throw std::bad_alloc();
  }
  gl_change_terminal(m_lines, stdin, stdout, TerminalType());
  gl_customize_completion(m_lines, this, AddMatches);
  gl_automatic_history(m_lines, 0);  // it would keep empty lines too
  BindKeys();
  for (const std::string& line : m_history.Load()) {
    gl_append_history(m_lines, line.c_str());
  }
}

LineEditor::~LineEditor() {
  GiveBack();
  del_GetLine(m_lines);
  if (m_terminal) {
    std::fclose(m_terminal);
  }
  m_history.Save();
}

void LineEditor::BindKeys() {
  gl_configure_getline(m_lines, KEYS, nullptr, OWN_KEYS_FILE);
  gl_register_action(
      m_lines, this,
      [](GetLine*, void* editor, int, std::size_t cursor, const char* line) {
        return static_cast<GlAfterAction>(static_cast<LineEditor*>(editor)->Ask(line, cursor));
      },
      "help-what-follows", "?");
  gl_register_action(
      m_lines, this,
      [](GetLine*, void* editor, int, std::size_t, const char* line) {
        return static_cast<GlAfterAction>(static_cast<LineEditor*>(editor)->DropLine(line));
      },
      "drop-line", "^C");
}

// The line is returned and given back at the next step, because what is printed from inside the
// editor would be written to a terminal that may have stopped.
int LineEditor::Ask(const char* line, std::size_t cursor) {
  m_end = Step::HELP;
  m_begun = line;
  m_cursor = static_cast<int>(cursor);
  return GLA_RETURN;
}

int LineEditor::DropLine(const char* line) {
  m_end = *line == '\0' ? Step::INTERRUPTED : Step::DROPPED;
  return GLA_RETURN;
}

// A signal that is waited for with the line is told apart by its number: the line is returned then
// as it is.
Step LineEditor::Read(const std::string& prompt, std::string& line) {
  gl_trap_signal(m_lines, SIGINT, GLS_DONT_FORWARD, GLS_RETURN, 0);
  return Edit(prompt, line);
}

Step LineEditor::Advance(const std::string& prompt, std::string& line) {
  if (!m_terminal) {
    UseInLoop();
  }
  DisableInterruptKey();
  m_isShown = false;  // whoever is called from inside the editor must leave it alone
  const Step step = Edit(prompt, line);
  m_isShown = step == Step::WAIT;
  return step;
}

Step LineEditor::Edit(const std::string& prompt, std::string& line) {
  m_end = Step::LINE;
  const std::string begun = std::exchange(m_begun, {});
  const int cursor = std::exchange(m_cursor, -1);
  return Take(gl_get_line(m_lines, prompt.c_str(), cursor < 0 ? nullptr : begun.c_str(), cursor),
              line);
}

// Opens the terminal a second time, since non-blocking mode would reach everybody who shares it: the
// log, on standard error, would lose lines.
void LineEditor::UseInLoop() {
  std::array<char, PATH_MAX> name;
  if (ttyname_r(STDIN_FILENO, name.data(), name.size()) == 0) {
    m_terminal = std::fopen(name.data(), "r+");
  }
  DisableInterruptKey();  // the editor takes the terminal from here on
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

void LineEditor::Forget() {
  gl_abandon_line(m_lines);
  m_begun.clear();
  m_cursor = -1;
}

// The editor begins a new row when it gives the terminal back.
bool LineEditor::StepAside() {
  int modem = 0;
  if (!m_isShown || IsWriting() || ioctl(GetDescriptor(), TIOCMGET, &modem) == 0 ||
      write(GetDescriptor(), ERASE_BELOW.data(), ERASE_BELOW.size()) < 0) {
    return false;
  }
  GiveBack();
  return write(GetDescriptor(), ROW_UP.data(), ROW_UP.size()) > 0;
}

void LineEditor::GiveBack() {
  m_isShown = false;
  gl_normal_io(m_lines);
  if (m_settings) {
    tcsetattr(GetDescriptor(), TCSADRAIN, &*m_settings);
    m_settings.reset();
  }
}

// Ctrl-C would be a signal, which does not tell what has been typed before it. An interrupt key of
// the operator's own remains a signal.
void LineEditor::DisableInterruptKey() {
  termios settings{};
  if (m_settings || tcgetattr(GetDescriptor(), &settings) != 0 ||
      settings.c_cc[VINTR] != CONTROL_C) {
    return;
  }
  m_settings = settings;
  settings.c_cc[VINTR] = _POSIX_VDISABLE;
  tcsetattr(GetDescriptor(), TCSADRAIN, &settings);
}

Step LineEditor::Take(const char* line, std::string& text) {
  if (!line) {
    return gl_return_status(m_lines) == GLR_BLOCKED ? Step::WAIT : Step::END;
  }
  text = line;
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  if (m_end == Step::LINE && gl_last_signal(m_lines) == SIGINT) {
    m_end = text.empty() ? Step::INTERRUPTED : Step::DROPPED;
  }
  if (m_end == Step::HELP) {
    text.resize(static_cast<std::size_t>(m_cursor));
  } else if (m_end == Step::LINE && !text.empty()) {
    gl_append_history(m_lines, text.c_str());
    m_history.Add(text);
  }
  return m_end;
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
