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
    : Session(context, vlan), m_input(context.loop, STDIN_FILENO) {
  g_session = this;
  rl_readline_name = "vantacored";
  rl_catch_signals = 0;  // signals are the daemon's
  rl_attempted_completion_function = CompleteWord;
}

TerminalSession::~TerminalSession() {
  HidePrompt();
  g_session = nullptr;
}

void TerminalSession::Start() { Ready(); }

void TerminalSession::Write(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void TerminalSession::Flush() { std::fflush(stdout); }

void TerminalSession::Ready() {
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
