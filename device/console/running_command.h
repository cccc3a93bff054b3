// One command that is being carried out.
#ifndef DEVICE_CONSOLE_RUNNING_COMMAND_H
#define DEVICE_CONSOLE_RUNNING_COMMAND_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "exit_rules.h"
#include "library_signs.h"
#include "output_filter.h"

namespace console {

/// Who has given it.
struct Operator {
  std::string name;  // as apply::Asker's
  /// The operator sees the daemon's log, so nothing of it has to be written here as well.
  bool seesLog = false;
};

/// Shared by the session that waits for the command, the dispatcher, the console that the library
/// prints to, and a reload that may have something to say later. It may outlive its session: a walk
/// that has begun runs to its end. Each operation names its one caller. Not for several threads.
class RunningCommand {
 public:
  /// Takes a piece of output, made safe for a terminal (program::PrintableLines), because handlers
  /// and complaints repeat what the operator has typed and what a document says. It is called from
  /// inside the library.
  using Take = std::function<void(std::string_view text)>;
  /// Called once, when the command is over, from inside the call that ended it.
  using Over = std::function<void()>;

  /// For a session whose VLAN is `vlan`.
  RunningCommand(unsigned short vlan, Operator by, Take take, Over over);
  RunningCommand(const RunningCommand&) = delete;
  RunningCommand& operator=(const RunningCommand&) = delete;

  unsigned short GetVlan() const { return m_vlan; }
  const Operator& GetOperator() const { return m_operator; }

  /// Writes output of the command; it is lost if the session has detached. By the dispatcher, and
  /// after it by the console.
  void Write(std::string_view text);
  /// All output of the command goes through the filter from now on. By the dispatcher.
  void Filter(std::unique_ptr<OutputFilter> filter) { m_filter = std::move(filter); }
  bool IsFiltered() const { return m_filter != nullptr; }
  /// A handler of the library carries the command out: its output tells how it went. By the
  /// dispatcher.
  void ListenToLibrary() { m_library.emplace(); }
  /// A word of the line is not understood. By the dispatcher.
  void Misunderstand() { m_signs |= MISUNDERSTOOD; }
  /// The command was understood, but it cannot be done. By the dispatcher, or by the session when
  /// the command or its view has thrown, or its view is refused.
  void Refuse() { m_signs |= NOT_DONE; }
  /// What was looked at has not passed. By the reload, the check or the verification.
  void Fail() { m_signs |= FAULTY; }
  /// The stack has something else than what is wanted. By the session, after a reload.
  void Differ() { m_signs |= DIFFERENT; }
  /// Writes one line of a reload or a check, also after the end: of what cannot be used, or of what
  /// the library says to it. By the reload or the check.
  void Tell(std::string_view line);

  /// Writes one line of the host about the command, past the filter, which is for the output. By the
  /// session.
  void Remark(std::string_view line);

  /// The command is over. By the dispatcher when nothing goes on after it, else by the console, the
  /// reload or the check. Only the first call counts.
  void End();
  bool IsOver() const { return m_isOver; }

  /// The console has been deleted by its owner, and the command is over. By the console.
  void LoseConsole();
  bool HasLostConsole() const { return m_hasLostConsole; }

  /// Detaches the session: further output is lost, and Over is not called. By the session, also
  /// from inside a Take or an Over.
  void Detach();

  /// No more output comes: what the filter keeps goes out. By the session.
  void FinishOutput();

  /// Call it when the command is over; exit_rules.h says what follows. What Tell writes does not
  /// count as the library's output.
  unsigned int GetSigns() const;
  Result GetResult() const { return ResultOf(GetSigns()); }

 private:
  void Hand(std::string_view text);

  const unsigned short m_vlan;
  const Operator m_operator;
  Take m_take;  // empty after Detach
  Over m_over;  // so too
  std::unique_ptr<OutputFilter> m_filter;
  std::optional<LibrarySigns> m_library;
  unsigned int m_signs = 0;
  bool m_isOver = false;
  bool m_hasLostConsole = false;
};

}  // namespace console

#endif
