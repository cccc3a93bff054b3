// A session whose commands come from a file or a pipe.
#ifndef DEVICE_HOST_BATCH_SESSION_H
#define DEVICE_HOST_BATCH_SESSION_H

#include "line_reader.h"
#include "session.h"

namespace host {

/// Waits for things to settle, then carries out one line after another. The process ends with the
/// input: with 0, or with EXIT_UNKNOWN_WORD when a word was unknown; or with EXIT_FAILED as soon as
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
  LineReader m_lines;
};

}  // namespace host

#endif
