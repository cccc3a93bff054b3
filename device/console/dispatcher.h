// From an operator's line to the handler that carries it out.
#ifndef DEVICE_CONSOLE_DISPATCHER_H
#define DEVICE_CONSOLE_DISPATCHER_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "device/program/report.h"
#include "lab.h"
#include "running_command.h"

namespace console {

/// What became of a line at once; its output may still be on the way (RunningCommand::IsOver).
struct Reply {
  unsigned short vlan = 0;  // the session's from now on
  bool hasChanged = false;  // it may take a while until the effect is there
  bool isQuit = false;
};

/// The words of the operator's console. The host's own are matched whole; behind `ip` and `ip6` stand
/// the words of the library's registries, whose handlers take the rest. `show` may precede whatever
/// shows something. Behind `lab` stand the lab's.
class Dispatcher {
 public:
  /// `reload` carries out the command of that name and tells the asker, if one is given, what it
  /// complains of; `lab` is borrowed.
  Dispatcher(std::function<void(program::Report asker)> reload, console::Lab& lab);

  /// Carries out a line. All output goes to `command`, which ends when the line has been carried out;
  /// an empty line ends at once.
  Reply Execute(const std::string& line, const std::shared_ptr<RunningCommand>& command) const;

  /// The words that may stand behind `before`, as far as they are known, and begin with `begun`.
  static Words Complete(Words before, const std::string& begun);
  /// The same for a line that has been begun as a whole.
  static Words Complete(const std::string& line);
  static Words Split(const std::string& line);

 private:
  struct Call;
  struct Word;
  static const Word WORDS[];

  static const Word* Find(const std::string& name);
  static Words Following(Words before);
  static void Unknown(Call& call);

  void Run(Call& call) const;
  void Help(Call& call) const;
  void Quit(Call& call) const;
  void Vrf(Call& call) const;
  void Reload(Call& call) const;
  void Ip(Call& call) const;
  void Rtm(Call& call) const;
  void Interface(Call& call) const;
  void Show(Call& call) const;
  void Lab(Call& call) const;

  std::function<void(program::Report)> m_reload;
  console::Lab& m_lab;
};

}  // namespace console

#endif
