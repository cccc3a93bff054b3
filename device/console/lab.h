// The lab: commands that simulate events around a device.
#ifndef DEVICE_CONSOLE_LAB_H
#define DEVICE_CONSOLE_LAB_H

#include <functional>
#include <optional>
#include <string>

#include "device/keepers/interfaces.h"
#include "grammar.h"
#include "stack_hold.h"

namespace routing_stack {
class Control;
struct Answer;
}  // namespace routing_stack

namespace console {

/// The result of a lab command.
struct LabReply {
  std::string text;
  bool isRefused = false;  // the text says why
  /// Words are not understood, or missing. The text tells the usage if they are missing.
  bool isMisunderstood = false;
  bool hasChanged = false;  // it may take a while until the effect is there
  /// The number of a hold of the stack that the command has begun; 0 if it has begun none. Its
  /// session gives it back with Lab::EndHold.
  unsigned int hold = 0;
};

/// Interfaces and addresses change, remotes join and leave, the stack refuses requests or does not
/// answer, time goes faster. These commands are for experiments, and are kept apart from an
/// operator's.
class Lab {
 public:
  /// Fixes the length of a timer tick; nothing gives it back.
  using FixTick = std::function<void(std::optional<unsigned int> microseconds)>;

  /// `stack` and `device` are borrowed.
  Lab(routing_stack::Control& stack, keepers::Interfaces& device, FixTick fixTick);

  /// Carries out the words after `lab` for a session whose VLAN is `vlan`.
  LabReply Execute(const Words& words, unsigned short vlan);

  /// Whether the stack is held by one of these commands.
  bool IsHolding() const { return m_hold.IsHeld(); }
  /// The session that has the hold has ended. `wasAlone` says that the command was the only one
  /// that it was made for: the hold goes on for a while then.
  void EndHold(unsigned int hold, bool wasAlone);

  /// What the words after `lab` mean, for what may follow them and for what does not fit.
  static Parse Read(const Words& words) { return Forms().Read(words); }
  /// Returns one line for each command: the command and what it does.
  static std::string Help();

 private:
  struct Call;
  struct Command;
  static const Command COMMANDS[];
  static const Grammar& Forms();  // of COMMANDS, in the same order

  bool FindInterface(Call& call, const std::string& name, documents::InterfaceKey& key) const;

  void Interface(Call& call);
  void Address(Call& call);
  void Join(Call& call);
  void Answers(Call& call);
  void Hold(Call& call);
  void Restart(Call& call);
  void Tick(Call& call);

  routing_stack::Control& m_stack;
  StackHold m_hold;
  keepers::Interfaces& m_device;
  const FixTick m_fixTick;
};

}  // namespace console

#endif
