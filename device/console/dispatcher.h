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

/// Which words a dispatcher has.
enum class Scope {
  ALL,
  VIEWS,  // those that change nothing
};

/// The operator's commands. One list of forms (grammar.h) says which words the host takes; help,
/// completion, "Possible: ..." and usage texts follow from it. A word that fits no form is refused
/// and named, also after a complete command. After `ip` and `ip6` come the words of the library's
/// registries, whose handlers take the rest; after `lab` come those of the lab. Any line may end
/// with a filter of its output (output_filter.h). Each form says whether it changes something. One
/// that does is not there for Scope::VIEWS, so nothing offers it, and who types it learns why.
class Dispatcher {
 public:
  /// `lab` is borrowed; without one there are no words of the lab.
  Dispatcher(FolderCommands folder, Lab* lab, Answers answers = {}, Scope scope = Scope::ALL);
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;
  ~Dispatcher();

  /// Carries out a line. All output goes to `command`, which ends when the line has been carried
  /// out; for an empty line it ends at once.
  Reply Execute(const std::string& line, const std::shared_ptr<RunningCommand>& command) const;

  /// As Lab::EndHold.
  void EndHold(unsigned int hold, bool wasAlone) const;

  /// Returns the words and values that may stand at the end of the line and begin with its last
  /// word, which may be empty, for a session whose VLAN is `vlan`.
  Words Complete(const std::string& line, unsigned short vlan) const;
  /// Tells what may stand there: a line for each word that begins so and for each place, with what
  /// it is for.
  std::string HelpAt(const std::string& line) const;

 private:
  enum class Kind;
  struct Entry;
  struct Table;
  struct Tables;
  struct Line;
  static const Entry ENTRIES[];

  Line Read(const Words& words) const;
  std::vector<Atom> Following(const Line& line) const;
  bool IsWithheld(const Words& libraryWords) const;
  bool Withhold(const Line& line, const Words& words, RunningCommand& command) const;
  void Misunderstand(const Line& line, const Words& words, RunningCommand& command) const;
  void TellMisfit(const Call& call, Line line, const Words& words) const;
  static void TellUsage(const Line& line, const Words& words, RunningCommand& command);
  std::string HelpOf(const Line& line, const std::string& begun = {}) const;
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
  Lab* const m_lab;
  const Scope m_scope;
  const std::unique_ptr<const Tables> m_tables;
};

}  // namespace console

#endif
