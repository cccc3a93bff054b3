// From an operator's line to the words that carry it out.
#ifndef DEVICE_CONSOLE_DISPATCHER_H
#define DEVICE_CONSOLE_DISPATCHER_H

#include <memory>
#include <string>

#include "call.h"
#include "folder_words.h"
#include "lab.h"
#include "view_words.h"

namespace console {

/// The operator's commands. One list of forms (grammar.h) says which words the host takes; help,
/// completion, "Possible: ..." and usage texts follow from it. A word that fits no form is refused
/// and named, also after a complete command. After `ip` and `ip6` come the words of the library's
/// registries, whose handlers take the rest; after `lab` come those of the lab. Any line may end
/// with a filter of its output (output_filter.h).
class Dispatcher {
 public:
  /// `lab` is borrowed.
  Dispatcher(FolderCommands folder, Lab& lab, Answers answers = {});

  /// Carries out a line. All output goes to `command`, which ends when the line has been carried
  /// out; for an empty line it ends at once.
  Reply Execute(const std::string& line, const std::shared_ptr<RunningCommand>& command) const;

  /// As Lab::EndHold.
  void EndHold(unsigned int hold, bool wasAlone) const { m_lab.EndHold(hold, wasAlone); }

  /// Returns the words and values that may stand at the end of the line and begin with its last
  /// word, which may be empty, for a session whose VLAN is `vlan`.
  Words Complete(const std::string& line, unsigned short vlan) const;
  /// Tells what may stand there: a line for each word that begins so and for each place, with what
  /// it is for.
  static std::string HelpAt(const std::string& line);

 private:
  struct Entry;
  struct Table;
  struct Line;
  static const Entry ENTRIES[];

  static const Table& TableOf(bool isShow);
  static Line Read(const Words& words);
  static std::vector<Atom> Following(const Line& line);
  static void Misunderstand(const Line& line, const Words& words, RunningCommand& command);
  static void TellMisfit(const Call& call, Line line, const Words& words);
  static void TellUsage(const Line& line, const Words& words, RunningCommand& command);
  static std::string HelpOf(const Line& line, const std::string& begun = {});
  static std::string DescriptionOf(const Atom& atom, bool isFirst);

  void Run(const Words& words, const std::shared_ptr<RunningCommand>& command, Reply& reply,
           bool& goesOn) const;
  void Help(Call& call) const;
  void Quit(Call& call) const;
  void ChooseVlan(Call& call) const;
  void RunView(Call& call) const;
  void RunFolder(Call& call) const;
  void RunLibrary(Call& call) const;
  void ListTables(Call& call) const;
  void ListShown(Call& call) const;
  void RunLab(Call& call) const;

  const FolderWords m_folder;
  const ViewWords m_views;
  Lab& m_lab;
};

}  // namespace console

#endif
