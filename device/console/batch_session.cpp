#include "batch_session.h"

#include <unistd.h>

#include <cstdio>

#include "device/program/standard_streams.h"

namespace console {

BatchSession::BatchSession(const SessionContext& context, unsigned short vlan)
    : Session(context, vlan), m_lines(context.loop, STDIN_FILENO) {}

void BatchSession::Start() { SettleThenReady(); }

void BatchSession::Write(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// Nobody is left to read the rest.
void BatchSession::Flush() {
  if (!program::FlushOutput("vantacored")) {
    Leave(program::EXIT_FAILED);
  }
}

void BatchSession::Ready() {
  m_lines.Next([this](const std::optional<std::string>& line) {
    if (line) {
      Execute(*line);
    } else if (m_lines.HasFailed()) {
      std::fputs("vantacored: standard input cannot be read\n", stderr);
      Leave(program::EXIT_FAILED);
    } else {
      Leave(GetExitStatus());
    }
  });
}

int BatchSession::GetExitStatus() const {
  return HadUsage() ? program::EXIT_USAGE : program::EXIT_DONE;
}

}  // namespace console
