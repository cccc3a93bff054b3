#include "terminal_session.h"

#include <uv.h>

#include <csignal>
#include <cstdio>
#include <exception>

namespace host {

namespace {

constexpr unsigned PROGRESS_MILLISECONDS = 1000;
const char ERASE_LINE[] = "\r\033[K";

std::vector<std::string> Complete(const std::string& begun) {
  const std::size_t word = begun.rfind(' ') + 1;  // 0 if there is none
  return Dispatcher::Complete(Dispatcher::Split(begun.substr(0, word)), begun.substr(word));
}

}  // namespace

TerminalSession::TerminalSession(const SessionContext& context, unsigned short vlan)
    : Session(context, vlan),
      m_editor(Complete),
      m_next(context.loop),
      m_progress(context.loop),
      m_resized(context.loop, SIGWINCH, [this] { Resize(); }) {}

TerminalSession::~TerminalSession() {
  HideProgress();
  HidePrompt();
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
  switch (m_editor.Advance(m_prompt, line)) {
    case editor::Step::WAIT:
      Await();
      break;
    case editor::Step::LINE:
      HidePrompt();
      m_seconds = 0;
      m_progress.Start(PROGRESS_MILLISECONDS, [this] { ShowProgress(); });
      try {
        Execute(line);
      } catch (const std::exception& problem) {
        std::fprintf(stdout, "%s\n", problem.what());
        Interrupt();
      }
      break;
    case editor::Step::END:
      HidePrompt();
      Leave(EXIT_DONE);
      break;
  }
}

void TerminalSession::Await() {
  if (!m_input) {
    m_input = std::make_unique<LoopPoll>(GetLoop(), m_editor.GetDescriptor());
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

}  // namespace host
