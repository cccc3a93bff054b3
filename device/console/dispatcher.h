// From an operator's line to the handler that carries it out.
#ifndef DEVICE_CONSOLE_DISPATCHER_H
#define DEVICE_CONSOLE_DISPATCHER_H

#include <cstddef>
#include <memory>
#include <string>

#include "folder_words.h"
#include "lab.h"
#include "running_command.h"

namespace console {

/// The immediate result of a line; its output may still be coming (RunningCommand::IsOver).
struct Reply {
  unsigned short vlan = 0;  // the session's from now on
  bool hasChanged = false;  // it may take a while until the effect is there
  bool isReload = false;    // the session tells what the stack does not have of it
  bool isQuit = false;
  unsigned int hold = 0;  // as LabReply's: to be given back with Dispatcher::EndHold
};

/// The operator's commands. One list of forms (form.h) says which words the host takes; help,
/// completion, "Possible: ..." and usage texts follow from it. A word that fits no form is refused
/// and named, also after a complete command. After `ip` and `ip6` come the words of the library's
/// registries, whose handlers take the rest; after `lab` come those of the lab.
class Dispatcher {
 public:
  /// `lab` is borrowed.
  Dispatcher(FolderCommands folder, Lab& lab);

  /// Carries out a line. All output goes to `command`, which ends when the line has been carried
  /// out; for an empty line it ends at once.
  Reply Execute(const std::string& line, const std::shared_ptr<RunningCommand>& command) const;

  /// As Lab::EndHold.
  void EndHold(unsigned int hold, bool wasAlone) const { m_lab.EndHold(hold, wasAlone); }

  /// Returns the known words that may follow `before` and begin with `begun`.
  static Words Complete(Words before, const std::string& begun);
  /// The same for a line: its last word, which may be empty, is what has been begun.
  static Words Complete(const std::string& line);
  static Words Split(const std::string& line);

 private:
  struct Call;
  struct Entry;
  struct Table;
  static const Entry ENTRIES[];

  static const Table& TableOf(bool isShow);
  static Words Following(Words before);
  static void Misunderstand(Call& call, std::size_t misfit, const std::string& expected = {});
  static void WriteUsage(const Call& call, const char* pattern);
  static bool TakeVlan(Call& call, const std::string& word, unsigned short& vlan);

  void Run(Call& call) const;
  void Help(Call& call) const;
  void Quit(Call& call) const;
  void ChooseVlan(Call& call) const;
  void RunFolder(Call& call) const;
  void ListTree(Call& call) const;
  void RunTree(Call& call) const;
  void ListTables(Call& call) const;
  void ShowTable(Call& call) const;
  void ShowInterfaces(Call& call) const;
  void ListShown(Call& call) const;
  void ListLab(Call& call) const;
  void RunLab(Call& call) const;

  const FolderWords m_folder;
  Lab& m_lab;
};

}  // namespace console

#endif
