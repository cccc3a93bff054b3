// A session whose commands come from a file or a pipe.
#ifndef DEVICE_CONSOLE_BATCH_SESSION_H
#define DEVICE_CONSOLE_BATCH_SESSION_H

#include "device/loop/line_reader.h"
#include "session.h"

namespace console {

/// Waits for things to settle, then carries out one line after another. The process ends with the
/// input: with 0, or with program::EXIT_USAGE when a word was unknown; or with program::EXIT_FAILED as soon as
/// output cannot be written.
class BatchSession : public Session {
 public:
  BatchSession(const SessionContext& context, unsigned short vlan);
  void Start() override;

 protected:
  void Write(const std::string& text) override;
  void Flush() override;
  void Ready() override;
  int GetExitStatus() const override;

 private:
  loop::LineReader m_lines;
};

}  // namespace console

#endif
