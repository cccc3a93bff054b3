// A session on a terminal: a prompt with line editing, history and completion.
#ifndef DEVICE_CONSOLE_TERMINAL_SESSION_H
#define DEVICE_CONSOLE_TERMINAL_SESSION_H

#include <memory>
#include <string>

#include "device/editor/line_editor.h"
#include "device/program/owned_descriptor.h"
#include "session.h"

namespace console {

/// At most one exists, because there is one terminal. A command that has been silent for a second
/// shows how long it has been running, and how far it has come if that is known. Output that the
/// terminal does not take, because it is stopped or nobody reads it, waits here; the prompt follows
/// it. Ctrl-C drops a line that has been begun; twice on an empty line, it leaves.
class TerminalSession : public Session {
 public:
  TerminalSession(const SessionContext& context, unsigned short vlan);
  /// Restores the terminal.
  ~TerminalSession() override;

  void Start() override;
  bool StopCommand() override;
  /// To be called before something else is written to the terminal: takes the line off that is
  /// being edited, and shows it again in the loop's next turn. Never waits. Returns whether the
  /// terminal is set for editing all the same, so that each end of line takes a carriage return.
  bool MakeWay();

 protected:
  void Write(std::string_view text) override;
  void Flush() override;
  Operator GetOperator() const override { return {"terminal", true}; }
  void Ready() override;
  void ShowProgress(const loop::Progress& progress) override;

 private:
  void Print(std::string_view text);
  void Drain();
  void ShowWaiting();
  void DropWaiting();
  void Prompt();
  void PromptAfter(const std::string& text);
  bool TakesLeave();
  void Edit();
  void Await();
  void Resize();
  void HidePrompt();
  void ShowWork();
  void HideWork();

  editor::LineEditor m_editor;
  std::string m_prompt;
  // What standard output shows, opened anew to write without waiting.
  const program::OwnedDescriptor m_screen;
  std::string m_waiting;    // output on its way there, one command's at most
  std::size_t m_shown = 0;  // how many bytes of m_waiting the terminal has taken
  std::unique_ptr<loop::Poll> m_drain;
  std::unique_ptr<loop::Poll> m_input;
  loop::Task m_next;
  loop::Timer m_work;
  loop::Signal m_resized;
  unsigned m_seconds = 0;
  std::string m_bar;           // how far the command has come, if that is known
  bool m_isPromptDue = false;  // after what is waiting
  bool m_isPrompting = false;
  bool m_isLeaving = false;  // Ctrl-C has been pressed once on an empty line
  bool m_isShowingWork = false;
  bool m_isAtLineStart = true;
};

}  // namespace console

#endif
