#include "batch_session.h"

#include <unistd.h>

#include <cstdio>

#include "device/program/comment.h"
#include "device/program/standard_streams.h"
#include "tarsel/trace.h"

namespace console {

namespace {

// By way of the log, which waits for no reader.
void Complain(const char* problem) { Tarsel::TRACE("%s\n", problem); }

}  // namespace

BatchSession::BatchSession(const SessionContext& context, unsigned short vlan)
    : Session(context, vlan), m_lines(context.loop, STDIN_FILENO) {}

void BatchSession::Start() { SettleThenReady(); }

void BatchSession::Write(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// Nobody is left to read the rest.
void BatchSession::Flush() {
  if (!program::FlushOutput()) {
    Complain("vantacored: standard output cannot be written");
    Leave(program::EXIT_FAILED);
  }
}

void BatchSession::Ready() {
  TellLine();
  m_lines.Next([this](const std::optional<std::string>& line) {
    if (line) {
      ++m_line;
      Execute(program::IsComment(*line) ? "" : *line);
    } else if (m_lines.HasFailed()) {
      Complain("vantacored: standard input cannot be read");
      Leave(program::EXIT_FAILED);
    } else {
      Leave(GetExitStatus());
    }
  });
}

// Its output says why, and may be that of any line.
void BatchSession::TellLine() const {
  if (const Result result = GetResult(); m_line != 0 && result != Result::DONE) {
    Tarsel::TRACE("vantacored: line %llu: %s\n", m_line, wire::NameOf(result));
  }
}

// The log has told of what had not settled.
int BatchSession::GetExitStatus() const {
  return static_cast<int>(ResultOf(GetAllSigns() & ~static_cast<unsigned int>(UNSETTLED)));
}

}  // namespace console
