// A session on the terminal: a prompt with line editing, history and completion.
#ifndef DEVICE_HOST_TERMINAL_SESSION_H
#define DEVICE_HOST_TERMINAL_SESSION_H

#include <string>

#include "session.h"

namespace host {

/// There is one at most: the line editor is one for the whole process.
class TerminalSession : public Session {
 public:
  TerminalSession(const SessionContext& context, unsigned short vlan);
  /// Gives the terminal back as it was.
  ~TerminalSession() override;

  void Start() override;

 protected:
  void Write(const std::string& text) override;
  void Flush() override;
  void Ready() override;

 private:
  static void OnLine(char* line);
  void HidePrompt();

  LoopPoll m_input;
  bool m_isPrompting = false;
};

}  // namespace host

#endif
