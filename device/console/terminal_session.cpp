#include "terminal_session.h"

#include <fcntl.h>
#include <unistd.h>
#include <uv.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <utility>

#include "device/program/printable.h"
#include "device/program/progress_bar.h"

namespace console {

namespace {

constexpr unsigned WORK_MILLISECONDS = 1000;
constexpr std::size_t PRINT_AT_ONCE_FROM = 4096;

// Opened a second time, since non-blocking mode would reach everybody who shares standard output.
int OpenScreen() {
  std::array<char, PATH_MAX> name;
  return ttyname_r(STDOUT_FILENO, name.data(), name.size()) == 0
             ? open(name.data(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)
             : -1;
}

}  // namespace

TerminalSession::TerminalSession(const SessionContext& context, unsigned short vlan)
    : Session(context, vlan),
      m_editor([this](const std::string& begun) { return Complete(begun); }),
      m_screen(OpenScreen()),
      m_next(context.loop),
      m_work(context.loop),
      m_resized(context.loop, SIGWINCH, [this] { Resize(); }) {}

TerminalSession::~TerminalSession() {
  HideWork();
  HidePrompt();
  m_isPromptDue = false;
  Drain();
}

void TerminalSession::Start() { Ready(); }

bool TerminalSession::StopCommand() {
  DropWaiting();
  if (m_isPromptDue) {
    Prompt();
    return true;
  }
  // One that was meant for a command that has just ended.
  return Interrupt() || (m_isPrompting && !TakesLeave());
}

bool TerminalSession::MakeWay() {
  if (m_editor.StepAside()) {
    m_next.Post([this] { Edit(); });
  }
  return m_editor.IsShown();
}

void TerminalSession::Write(std::string_view text) {
  HideWork();
  Print(text);
  m_isAtLineStart = text.empty() ? m_isAtLineStart : text.back() == '\n';
}

void TerminalSession::Flush() {
  HideWork();
  Drain();
}

void TerminalSession::Print(std::string_view text) {
  if (m_screen.Get() < 0) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  // While the loop watches the terminal there is no use in trying.
  const bool isStopped = m_waiting.size() > PRINT_AT_ONCE_FROM;
  m_waiting += text;
  if (!isStopped && m_waiting.size() > PRINT_AT_ONCE_FROM) {
    Drain();
  }
  HeedWaiting(m_waiting.size() - m_shown);
}

void TerminalSession::Drain() {
  if (m_screen.Get() >= 0) {
    ShowWaiting();
  } else {
    std::fflush(stdout);
  }
  if (m_isPromptDue && m_waiting.empty()) {
    Prompt();
  }
}

// A terminal that has gone takes nothing; the session ends when it is read.
void TerminalSession::ShowWaiting() {
  ssize_t count = 1;
  while (m_shown < m_waiting.size() && (count > 0 || errno == EINTR)) {
    count = write(m_screen.Get(), m_waiting.data() + m_shown, m_waiting.size() - m_shown);
    m_shown += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  const bool isStopped = m_shown < m_waiting.size() && errno == EAGAIN;
  if (!isStopped) {
    DropWaiting();
  } else if (m_shown >= HOLD_FROM) {
    m_waiting.erase(0, m_shown);
    m_shown = 0;
  }
  HeedWaiting(m_waiting.size() - m_shown);
  if (isStopped && !m_drain) {
    m_drain = std::make_unique<loop::Poll>(GetLoop(), m_screen.Get());
  }
  if (m_drain) {
    m_drain->Start(isStopped ? UV_WRITABLE : 0, [this](int) { Drain(); });
  }
}

void TerminalSession::DropWaiting() {
  m_waiting.clear();
  m_shown = 0;
}

void TerminalSession::ShowWork() {
  ++m_seconds;
  if (m_isAtLineStart && m_waiting.empty()) {
    Print(program::ERASE_LINE + ("working for " + std::to_string(m_seconds)) + " s" + m_bar +
          "; Ctrl-C stops " + (m_bar.empty() ? "the output" : "waiting"));
    Drain();
    m_isShowingWork = true;
  }
  m_work.Start(WORK_MILLISECONDS, [this] { ShowWork(); });
}

void TerminalSession::ShowProgress(const loop::Progress& progress) {
  m_bar = progress.total == 0 ? "" : " " + program::ProgressBar(progress.done, progress.total);
}

void TerminalSession::HideWork() {
  if (m_isShowingWork) {
    Print(program::ERASE_LINE);
    m_isShowingWork = false;
  }
}

void TerminalSession::Ready() {
  m_work.Stop();
  HideWork();
  PromptAfter("");
}

void TerminalSession::Prompt() {
  m_isPromptDue = false;
  m_prompt = "vantacore[" + std::to_string(GetVlan()) + "]> ";
  m_isPrompting = true;
  // Not at once: lines that were pasted would be carried out one inside the other.
  m_next.Post([this] { Edit(); });
}

void TerminalSession::Edit() {
  if (!m_isPrompting) {
    return;
  }
  std::string line;
  const editor::Step step = m_editor.Advance(m_prompt, line);
  if (step == editor::Step::WAIT) {
    Await();
    return;
  }
  HidePrompt();
  if (step == editor::Step::INTERRUPTED) {
    if (TakesLeave()) {
      Leave(GetExitStatus());
    }
    return;
  }
  m_isLeaving = false;
  if (step == editor::Step::LINE) {
    m_seconds = 0;
    m_bar.clear();
    m_work.Start(WORK_MILLISECONDS, [this] { ShowWork(); });
    Execute(line);
  } else if (step == editor::Step::END) {
    Leave(GetExitStatus());
  } else {
    PromptAfter(step == editor::Step::HELP ? program::PrintableLines(HelpAt(line)) : "");
  }
}

// Whoever did not mean the first one has a second chance. While the log speaks, Ctrl-C is no key but a
// signal, which may find a line half typed.
bool TerminalSession::TakesLeave() {
  if (std::exchange(m_isLeaving, true)) {
    return true;
  }
  HidePrompt();
  m_editor.Forget();
  PromptAfter("Ctrl-C again leaves\n");
  return false;
}

void TerminalSession::PromptAfter(const std::string& text) {
  Print(text);
  m_isPromptDue = true;
  Drain();
}

void TerminalSession::Await() {
  if (!m_input) {
    m_input = std::make_unique<loop::Poll>(GetLoop(), m_editor.GetDescriptor());
  }
  m_input->Start(m_editor.IsWriting() ? UV_WRITABLE : UV_READABLE, [this](int) { Edit(); });
}

void TerminalSession::Resize() {
  m_editor.Resized();
  Edit();
}

void TerminalSession::HidePrompt() {
  if (m_isPrompting) {
    m_isPrompting = false;
    if (m_input) {
      m_input->Start(0, {});
    }
    m_editor.GiveBack();
  }
}

}  // namespace console
