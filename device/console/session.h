// One operator at a console.
#ifndef DEVICE_CONSOLE_SESSION_H
#define DEVICE_CONSOLE_SESSION_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command_walks.h"
#include "device/loop/loop_handles.h"
#include "device/loop/settled_wait.h"
#include "device/program/exit_status.h"
#include "device/views/effect.h"
#include "dispatcher.h"
#include "view_run.h"

namespace console {

/// What every session needs. All of it is borrowed.
struct SessionContext {
  uv_loop_s* loop;
  const Dispatcher& dispatcher;
  loop::SettledWait& settle;
  Walks& walks;
  /// Returns what has come of a reload when things have settled, with at most `most` differences in
  /// words. May be empty: then nobody knows.
  std::function<views::Effect(std::size_t most)> findEffect;
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
  /// A walk that is still running is ended, and the stack is released if the session holds it.
  virtual ~Session();

  virtual void Start() = 0;
  /// The operator wants the running command to stop. Returns false if none is running, or if this
  /// kind of session has no such request.
  virtual bool StopCommand() { return false; }
  /// Whether it is over because the operator has said so, and not because the input has ended.
  bool HasQuit() const { return m_reply.isQuit; }

  static constexpr std::size_t HOLD_FROM = 1024 * 1024;

 protected:
  virtual void Write(std::string_view text) = 0;
  /// Writes out what waits. Called when the command's output is complete, or before this session
  /// logs something, perhaps to the same terminal.
  virtual void Flush() = 0;
  /// Called when the next line may come.
  virtual void Ready() = 0;
  /// A command that changes something has come further. Called a few times a second at most.
  virtual void ShowProgress(const loop::Progress&) {}
  /// The output of the command that has just begun comes as things happen.
  virtual void BecomeLive() {}
  /// Who gives the commands.
  virtual Operator GetOperator() const = 0;
  /// The process's exit status when the operator leaves. 0 unless a session overrides it: an
  /// operator who types commands has seen what went wrong.
  virtual int GetExitStatus() const { return program::EXIT_DONE; }

  /// Carries out a line. What a command throws is printed and counts as a refusal, except
  /// std::bad_alloc, which is passed on.
  void Execute(const std::string& line);
  /// Waits until things have settled, for some seconds without progress at most, then calls Ready.
  void SettleThenReady();
  /// The operator has made the session for one line only: the stack that it holds stays so for a
  /// while after it.
  void ExpectOneLine() { m_isForOneLine = true; }
  /// From now on a line is over when it has been carried out, whether its effect is there or not.
  void WaitForNoEffects() { m_waitsForEffects = false; }
  /// Ends the session: no further line is taken.
  void Leave(int status);
  /// To be called whenever output comes or goes, with how many bytes wait for their reader. The
  /// walks and the view of the command are held when more than HOLD_FROM wait, until less than half
  /// of that does.
  void HeedWaiting(std::size_t bytes);
  uv_loop_s* GetLoop() const { return m_context.loop; }
  unsigned short GetVlan() const { return m_vlan; }
  /// Stops the command in progress. If it is still printing, the rest of its output is discarded
  /// and its walks and its view end; if its effect is being awaited, the wait ends. Returns false
  /// if none is in progress.
  bool Interrupt();
  /// Nobody is left to read what the command in progress prints: its walks and its view end.
  void Abandon() { Detach(); }
  /// The signs of the last line (exit_rules.h); none before the first.
  unsigned int GetSigns() const;
  Result GetResult() const { return ResultOf(GetSigns()); }
  /// Whether what the last line shows is one document, to which nothing may be added.
  bool ShowsDocument() const { return static_cast<bool>(m_reply.document); }
  /// The signs of all lines that are over.
  unsigned int GetAllSigns() const { return m_allSigns; }
  /// As the dispatcher's.
  Words Complete(const std::string& line) const {
    return m_context.dispatcher.Complete(line, m_vlan);
  }
  std::string HelpAt(const std::string& line) const { return m_context.dispatcher.HelpAt(line); }

 private:
  void Begin(const std::string& line);
  void Over();
  void BecomeReady();
  void Conclude(bool hasSettled);
  void ShowView(views::AnyView view, std::function<void()> over);
  void LookAtProgress();
  void Detach();

  const SessionContext m_context;
  unsigned short m_vlan;
  loop::Task m_wake;
  loop::Timer m_look;  // at the progress
  loop::Progress m_progress;
  std::shared_ptr<RunningCommand> m_command;
  std::optional<CommandWalks> m_walks;  // of m_command
  std::unique_ptr<ViewRun> m_view;      // of m_command
  Reply m_reply;
  unsigned int m_hold = 0;  // of the stack, which this session has; 0 for none
  unsigned int m_allSigns = 0;
  bool m_hasSettled = true;
  bool m_isHolding = false;    // m_walks and m_view
  bool m_isBusy = false;       // a line is being carried out, or its effect is awaited
  bool m_isImpatient = false;  // the operator has interrupted the line
  bool m_hasLeft = false;
  bool m_isForOneLine = false;
  bool m_waitsForEffects = true;
};

}  // namespace console

#endif
