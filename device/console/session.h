// One operator at a console.
#ifndef DEVICE_CONSOLE_SESSION_H
#define DEVICE_CONSOLE_SESSION_H

#include <functional>
#include <memory>
#include <string>

#include "device/loop/loop_handles.h"
#include "device/loop/settled_wait.h"
#include "device/program/exit_status.h"
#include "dispatcher.h"

namespace console {

/// What every session needs. All of it is borrowed.
struct SessionContext {
  uv_loop_s* loop;
  const Dispatcher& dispatcher;
  loop::SettledWait& settle;
  /// Called when the session is over, with the exit status for the process.
  std::function<void(int status)> leave;
};

/// Carries out one line at a time. The next line is taken after the command is over, its output is
/// written and, if it changed something, things have settled.
class Session {
 public:
  Session(const SessionContext& context, unsigned short vlan);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  /// A walk that is still running loses its output.
  virtual ~Session();

  virtual void Start() = 0;
  /// The operator wants the running command to stop. Returns false if none is running, or if this
  /// kind of session has no such request.
  virtual bool StopCommand() { return false; }

 protected:
  virtual void Write(const std::string& text) = 0;
  /// Writes out what waits. Called when the command's output is complete, or before this session
  /// logs something, perhaps to the same terminal.
  virtual void Flush() = 0;
  /// Called when the next line may come.
  virtual void Ready() = 0;
  /// Whether the operator sees what the daemon logs.
  virtual bool SeesLog() const { return true; }
  /// The process's exit status when the operator leaves. 0 unless a session overrides it: an
  /// operator who types commands has seen what went wrong.
  virtual int GetExitStatus() const { return program::EXIT_DONE; }

  /// Carries out a line. What a command throws is printed and counts as a refusal, except
  /// std::bad_alloc, which is passed on.
  void Execute(const std::string& line);
  /// Waits until things have settled, for some seconds at most, then calls Ready.
  void SettleThenReady();
  /// Ends the session: no further line is taken.
  void Leave(int status);
  uv_loop_s* GetLoop() const { return m_context.loop; }
  unsigned short GetVlan() const { return m_vlan; }
  /// Stops the command in progress. If it is still printing, the rest of its output is discarded;
  /// if its effect is being awaited, the wait ends. Returns false
  /// if none is in progress.
  bool Interrupt();
  /// The result of the last line, by the rule of RunningCommand; DONE before the first.
  Result GetResult() const { return m_command ? m_command->GetResult() : Result::DONE; }
  bool HasSettled() const { return m_hasSettled; }
  /// Whether a line of this session was USAGE, or FAULTY.
  bool HadUsage() const { return m_hadUsage; }
  bool HadFaults() const { return m_hadFaults; }

 private:
  void Over();
  void BecomeReady();
  void Detach();

  const SessionContext m_context;
  unsigned short m_vlan;
  loop::Task m_wake;
  std::shared_ptr<RunningCommand> m_command;
  Reply m_reply;
  bool m_hadUsage = false;
  bool m_hadFaults = false;
  bool m_hasSettled = true;
  bool m_isBusy = false;       // a line is being carried out, or its effect is awaited
  bool m_isImpatient = false;  // the operator has interrupted the line
  bool m_hasLeft = false;
};

}  // namespace console

#endif
