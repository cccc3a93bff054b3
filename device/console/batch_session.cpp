#include "batch_session.h"

#include <unistd.h>

#include <cstdio>

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
  m_lines.Next([this](const std::optional<std::string>& line) {
    if (line) {
      Execute(*line);
    } else if (m_lines.HasFailed()) {
      Complain("vantacored: standard input cannot be read");
      Leave(program::EXIT_FAILED);
    } else {
      Leave(GetExitStatus());
    }
  });
}

int BatchSession::GetExitStatus() const {
  if (HadUsage()) {
    return program::EXIT_USAGE;
  }
  if (HadFaults()) {
    return program::EXIT_FAILED;
  }
  return HadDifferences() ? program::EXIT_DIFFERS : program::EXIT_DONE;
}

}  // namespace console
