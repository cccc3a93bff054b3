#include "terminal_session.h"

// readline's headers need stdio's.
#include <cstdio>
//
#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>
#include <uv.h>

#include <cstdlib>
#include <cstring>

namespace host {

namespace {

constexpr unsigned PROGRESS_MILLISECONDS = 1000;
const char ERASE_LINE[] = "\r\033[K";

TerminalSession* g_session = nullptr;

char* NextMatch(const char* text, int state) {
  static Words matches;
  static std::size_t next;
  if (state == 0) {
    const std::string before(rl_line_buffer, static_cast<std::size_t>(rl_point));
    matches = Dispatcher::Complete(
        Dispatcher::Split(before.substr(0, before.size() - std::strlen(text))), text);
    next = 0;
  }
  return next < matches.size() ? strdup(matches[next++].c_str()) : nullptr;
}

char** CompleteWord(const char* text, int, int) {
  rl_attempted_completion_over = 1;  // file names are of no use here
  return rl_completion_matches(text, NextMatch);
}

}  // namespace

TerminalSession::TerminalSession(const SessionContext& context, unsigned short vlan)
    : Session(context, vlan), m_input(context.loop, STDIN_FILENO), m_progress(context.loop) {
  g_session = this;
  rl_readline_name = "vantacored";
  rl_catch_signals = 0;  // signals are the daemon's
  rl_attempted_completion_function = CompleteWord;
}

TerminalSession::~TerminalSession() {
  HideProgress();
  HidePrompt();
  g_session = nullptr;
}

void TerminalSession::Start() { Ready(); }

bool TerminalSession::StopCommand() { return Interrupt(); }

void TerminalSession::Write(const std::string& text) {
  HideProgress();
  std::fwrite(text.data(), 1, text.size(), stdout);
  m_isAtLineStart = text.empty() ? m_isAtLineStart : text.back() == '\n';
}

void TerminalSession::Flush() { std::fflush(stdout); }

void TerminalSession::ShowProgress() {
  ++m_seconds;
  if (m_isAtLineStart) {
    std::fprintf(stdout, "%sworking for %u s; Ctrl-C stops the output", ERASE_LINE, m_seconds);
    std::fflush(stdout);
    m_isShowingProgress = true;
  }
  m_progress.Start(PROGRESS_MILLISECONDS, [this] { ShowProgress(); });
}

void TerminalSession::HideProgress() {
  if (m_isShowingProgress) {
    std::fputs(ERASE_LINE, stdout);
    m_isShowingProgress = false;
  }
}

void TerminalSession::Ready() {
  m_progress.Stop();
  HideProgress();
  const std::string prompt = "vantacore[" + std::to_string(GetVlan()) + "]> ";
  rl_callback_handler_install(prompt.c_str(), OnLine);
  m_isPrompting = true;
  m_input.Start(UV_READABLE, [](int) { rl_callback_read_char(); });
}

void TerminalSession::HidePrompt() {
  if (m_isPrompting) {
    m_isPrompting = false;
    m_input.Start(0, {});
    rl_callback_handler_remove();
  }
}

// The line editor is C: nothing may be thrown through it.
void TerminalSession::OnLine(char* line) {
  TerminalSession& session = *g_session;
  session.HidePrompt();
  if (!line) {
    std::fputc('\n', stdout);
    session.Leave(EXIT_DONE);
    return;
  }
  session.m_seconds = 0;
  session.m_progress.Start(PROGRESS_MILLISECONDS, [&session] { session.ShowProgress(); });
  try {
    if (*line) {
      add_history(line);
    }
    session.Execute(line);
  } catch (const std::exception& problem) {
    std::fprintf(stdout, "%s\n", problem.what());
    session.Ready();
  }
  std::free(line);
}

}  // namespace host
