// The lab: commands that make happen what happens to a device by itself.
#ifndef DEVICE_CONSOLE_LAB_H
#define DEVICE_CONSOLE_LAB_H

#include <functional>
#include <string>

#include "device/apply/interfaces.h"
#include "form.h"

namespace routing_stack {
class Control;
struct Answer;
}  // namespace routing_stack

namespace console {

/// What became of a lab command.
struct LabReply {
  std::string text;
  /// The index of the first word that is not understood; Match::NONE when all are.
  std::size_t unknownAt = Match::NONE;
  bool hasChanged = false;  // it may take a while until the effect is there
};

/// Interfaces and addresses change, remotes join and leave, the stack answers badly or not at all,
/// time goes faster. These commands are for people who try things out, and are kept apart from an
/// operator's.
class Lab {
 public:
  /// Everything is borrowed. `tickMicroseconds` is the length of a tick to come back to.
  /// `bringBack` tells everything again to a stack that has been restarted.
  Lab(routing_stack::Control& stack, apply::Interfaces& device, unsigned int tickMicroseconds,
      std::function<void()> bringBack);

  /// Carries out the words after `lab` for a session whose VLAN is `vlan`.
  LabReply Execute(const Words& words, unsigned short vlan);

  /// The words that may stand after `before`, as far as they are known.
  static Words Following(const Words& before);
  /// Each command with what it does, a line each.
  static std::string Help();

 private:
  struct Call;
  struct Command;
  static const Command COMMANDS[];
  static const Grammar& Forms();  // of COMMANDS, in the same order

  bool FindInterface(Call& call, const std::string& name, documents::InterfaceKey& key) const;
  bool TakeVlan(Call& call) const;

  void Interface(Call& call);
  void Address(Call& call);
  void Join(Call& call);
  void Answers(Call& call);
  void Hold(Call& call);
  void Restart(Call& call);
  void Tick(Call& call);

  routing_stack::Control& m_stack;
  apply::Interfaces& m_device;
  const unsigned int m_tickMicroseconds;
  const std::function<void()> m_bringBack;
};

}  // namespace console

#endif
