// Random sequences of what can happen to a device with a configuration folder: the folder changes
// and is reloaded, interfaces change in between, the stack answers as it likes or not at all, and
// is held and restarted. Each step comes whatever state the ones before have left.
#ifndef TESTS_CONVERGENCE_FOLDER_SEQUENCE_H
#define TESTS_CONVERGENCE_FOLDER_SEQUENCE_H

#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "device/stack/stack_control.h"
#include "tests/convergence/folder_host.h"
#include "tests/convergence/folder_model.h"
#include "tests/support/scratch_folder.h"

namespace convergence {

struct FolderStep {
  std::string kind;  // for counting
  std::string text;  // for whoever reads a failure
  std::function<void(FolderHost& host, const test_support::ScratchFolder& folder)> apply;
  /// Of a change of an interface: which one. The change is left out if there is no such interface.
  std::optional<std::pair<unsigned short, unsigned int>> interface;
};

/// Remote documents that are not among them are removed.
void WriteFiles(const FolderFiles& files, const test_support::ScratchFolder& folder);

class FolderSequence {
 public:
  /// The same seed draws the same sequence.
  explicit FolderSequence(unsigned int seed);

  const FolderFiles& First() const { return m_first; }
  const FolderFiles& Last() const { return m_last; }
  /// The last folder's.
  unsigned int Mark() const { return m_model.mark; }
  const std::vector<FolderStep>& Steps() const { return m_steps; }
  /// The kinds of changes of the folder.
  const std::vector<std::string>& Changes() const { return m_changes; }
  std::string Text() const;

 private:
  unsigned int Below(unsigned int below) {
    return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_engine);
  }
  bool Percent(unsigned int percent) { return Below(100) < percent; }
  unsigned short DrawVlan() { return static_cast<unsigned short>(10 * (1 + Below(3))); }
  void Add(const std::string& kind, const std::string& text,
           std::function<void(FolderHost&, const test_support::ScratchFolder&)> apply);

  void DrawFirst();
  void DrawStep();
  void DrawWait();

  // Changes of the folder.
  void DrawReload();
  std::string DrawChange();
  std::string VlanComesOrGoes(unsigned short id);
  std::string InterfaceOfFolderChanges(unsigned short id);
  std::string RouteChanges(std::map<FolderRoute, unsigned int>& routes, unsigned int firstNetwork);
  std::string ManyRoutesComeOrGo(FolderVlan& vlan);
  std::string ProtocolChanges(unsigned short id, FolderMembers& protocols);
  std::string RuleChanges(FolderVlan& vlan);
  std::string RemoteChanges();
  std::string RemoteEntryChanges(unsigned short id, FolderRemote& remote);
  void DrawTypo();
  FolderVlan DrawNewVlan(unsigned short id);
  FolderRemoteEntry DrawRemoteEntry(unsigned short id);
  FolderMember DrawMember(unsigned short id);
  FolderRows DrawRows(unsigned short id);
  std::string Change(const std::string& kind);

  // What happens to interfaces and to the stack.
  void DrawInterfaceEvent();
  void DrawFlaps();
  void DrawAnswers();
  void DrawBusyTime();
  void DrawHold();

  std::mt19937 m_engine;
  FolderModel m_model;
  FolderFiles m_first;
  FolderFiles m_last;
  /// VLANs as they were before they went.
  std::map<unsigned short, FolderVlan> m_gone;
  std::vector<std::string> m_changes;
  std::vector<FolderStep> m_steps;
};

}  // namespace convergence

#endif
