// A session whose commands come from a file or a pipe.
#ifndef DEVICE_CONSOLE_BATCH_SESSION_H
#define DEVICE_CONSOLE_BATCH_SESSION_H

#include "device/loop/line_reader.h"
#include "session.h"

namespace console {

/// Waits until things have settled, then carries out one line after another, except comments
/// (device/program/comment.h). The process ends with the input; its status is the number of the
/// worst result of its lines (exit_rules.h). The log names each line that was not done. It ends with program::EXIT_FAILED as soon as output
/// cannot be written or input cannot be read.
class BatchSession : public Session {
 public:
  BatchSession(const SessionContext& context, unsigned short vlan);
  void Start() override;

 protected:
  void Write(std::string_view text) override;
  void Flush() override;
  Operator GetOperator() const override { return {"pipe", true}; }
  void Ready() override;
  int GetExitStatus() const override;

 private:
  void TellLine() const;

  loop::LineReader m_lines;
  unsigned long long m_line = 0;  // the number of the last one; 0 before the first
};

}  // namespace console

#endif
