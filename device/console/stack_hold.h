// Who has stopped the stack, and until when.
#ifndef DEVICE_CONSOLE_STACK_HOLD_H
#define DEVICE_CONSOLE_STACK_HOLD_H

#include "tarsel/timer.h"

namespace routing_stack {
class Control;
}

namespace console {

/// A stack that is held answers nobody, so a hold must not outlast whoever asked for it: it ends
/// with the session that asked for it last. A session of one command ends at once, so its hold
/// lasts a while longer, in which other sessions look at what a busy stack does.
class StackHold {
 public:
  static constexpr unsigned int ALONE_MILLISECONDS = 60000;

  /// `stack` is borrowed.
  explicit StackHold(routing_stack::Control& stack);
  StackHold(const StackHold&) = delete;
  StackHold& operator=(const StackHold&) = delete;

  /// Stops the stack. Returns the number of the hold, from 1 on, to be ended by it; a hold that is
  /// there already is taken over.
  unsigned int Hold();
  bool IsHeld() const { return m_hold != 0; }
  /// The stack goes on, whoever holds it.
  void Release();
  /// Ends the hold, unless it has ended or was taken over.
  void End(unsigned int hold);
  /// The hold ends in the same way after ALONE_MILLISECONDS.
  void LeaveAlone(unsigned int hold);

 private:
  void OnTimeout(unsigned int, void*);

  routing_stack::Control& m_stack;
  Tarsel::OneShotTimer m_alone;
  unsigned int m_count = 0;
  unsigned int m_hold = 0;  // that is there; 0 for none
};

}  // namespace console

#endif
