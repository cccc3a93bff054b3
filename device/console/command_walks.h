// The walks of one command.
#ifndef DEVICE_CONSOLE_COMMAND_WALKS_H
#define DEVICE_CONSOLE_COMMAND_WALKS_H

#include <optional>

#include "walks.h"

namespace console {

/// A handler tells nobody which walks it begins, nor when one of them has ended. So the walks that
/// begin while the command is carried out are the command's, and those that begin inside a walk of
/// the command. The host carries out one line at a time, so no other command's are among them.
class CommandWalks {
 public:
  /// The command begins. `walks` is borrowed.
  explicit CommandWalks(Walks& walks) : m_walks(walks), m_before(walks.Last()) {}

  /// The command has been carried out, apart from its walks, which get the stack's time from now
  /// on.
  void Begun();

  /// No walk of the command hands over a row, until GoOn.
  void Hold() const;
  void GoOn() const;
  /// The walks of the command end, held or not: nobody reads what they would print.
  void End() const;

 private:
  template <class Action>
  void ForEach(Action action) const;

  Walks& m_walks;
  const unsigned int m_before;         // the last walk before the command
  std::optional<unsigned int> m_last;  // the last that the command began; none while it begins some
};

}  // namespace console

#endif
