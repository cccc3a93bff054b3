// Rules of the kernel that keep VLANs apart.
#ifndef DEVICE_MACHINE_KERNEL_RULES_H
#define DEVICE_MACHINE_KERNEL_RULES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "device/documents/device.h"
#include "device/keepers/interfaces.h"
#include "device/kernel/rule_keeper.h"
#include "device/rows/comparer.h"
#include "kernel_tables.h"

namespace machine {

/// Wants two rules of each family for every interface whose VLAN's routes stand in a table of their
/// own that is not a VRF device's, once the device document has said so: one leads what comes in there into that table, and
/// the other one ends its lookup. Until then nothing is opened and nothing costs anything.
class KernelRules {
 public:
  struct Hooks {
    kernel::OpenChannel open;
    kernel::RuleKeeper::Log log;
    std::function<std::uint64_t()> now;  // milliseconds, never going back
  };

  /// The interfaces are borrowed.
  KernelRules(uv_loop_s* loop, const keepers::Interfaces& interfaces, Hooks hooks);

  /// What the configuration in force says; once it has been applied. When rules are no longer to be
  /// written, those that are there go. Without a way to the kernel a line says so, and nothing is
  /// written until this is called again.
  void Apply(const documents::Device& device, const KernelTables& tables);
  /// VRF devices have come or gone.
  void Move(const KernelTables& tables) {
    m_tables = tables;
    Refresh();
  }
  /// Interfaces have come or gone, or the kernel's names of some may be others.
  void Refresh();
  /// So too, and rules may have gone.
  void Compare();

  /// Asks again now for the rules that the kernel refuses, and returns how many those are.
  std::size_t Retry() { return m_keeper ? m_keeper->Retry() : 0; }

  /// Writes nothing any more, whatever comes.
  void Shut();

  /// At the end of each turn of the loop. `areRoutesSwept`: what routes of an earlier run are not
  /// wanted has been found; then so it is with rules.
  void Look(bool areRoutesSwept) {
    if (m_keeper && (m_isEnding || m_keeper->GetLedger().IsLearning())) {
      GoOn(areRoutesSwept);
    }
  }

  /// Whether nothing is under way to the kernel.
  bool IsSettled() const { return !m_keeper || m_keeper->IsSettled(); }
  /// Null while rules are not written.
  const kernel::RuleKeeper* GetKeeper() const { return m_keeper.get(); }
  /// Compares with the kernel, and calls `done` from the loop: with a verdict if rules are to be
  /// written.
  void Verify(std::size_t mostLines, std::function<void(std::optional<rows::Verdict>)> done);

 private:
  bool Open(bool isToWrite);
  void GoOn(bool areRoutesSwept);
  kernel::Rules FindWanted() const;

  uv_loop_s* const m_loop;
  const keepers::Interfaces& m_interfaces;
  const Hooks m_hooks;
  std::unique_ptr<kernel::RuleKeeper> m_keeper;
  KernelTables m_tables;
  bool m_isEnding = false;  // all rules go, and then the keeper
  std::string m_problem;    // why none are written; empty if they are, or are not to be
};

}  // namespace machine

#endif
