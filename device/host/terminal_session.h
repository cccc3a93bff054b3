// A session on the terminal: a prompt with line editing, history and completion.
#ifndef DEVICE_HOST_TERMINAL_SESSION_H
#define DEVICE_HOST_TERMINAL_SESSION_H

#include <string>

#include "session.h"

namespace host {

/// There is one at most: the line editor is one for the whole process. A command that has been silent
/// for a second shows for how long it has been going on.
class TerminalSession : public Session {
 public:
  TerminalSession(const SessionContext& context, unsigned short vlan);
  /// Gives the terminal back as it was.
  ~TerminalSession() override;

  void Start() override;
  bool StopCommand() override;

 protected:
  void Write(const std::string& text) override;
  void Flush() override;
  void Ready() override;

 private:
  static void OnLine(char* line);
  void HidePrompt();
  void ShowProgress();
  void HideProgress();

  LoopPoll m_input;
  LoopTimer m_progress;
  unsigned m_seconds = 0;
  bool m_isPrompting = false;
  bool m_isShowingProgress = false;
  bool m_isAtLineStart = true;
};

}  // namespace host

#endif
