// Carries out document plans.
#ifndef DEVICE_APPLY_DOCUMENT_FEEDER_H
#define DEVICE_APPLY_DOCUMENT_FEEDER_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "device/intent/document_plan.h"

namespace apply {

/// Knows which documents the library has, and makes the wanted ones the library's.
class DocumentFeeder {
 public:
  /// How many members are emptied in one turn of the loop.
  static constexpr std::size_t MEMBERS_A_TURN = 50;

  /// The documents that the library has; none before the first ones, and while a plan is being
  /// carried out.
  const documents::ConfigFiles& GetApplied() const { return m_applied; }
  /// Makes `wanted` the library's documents, with as many calls of Continue as it takes. The plan
  /// is the way to them from GetApplied(), null for no steps; whoever else holds it decides where
  /// it is freed. An earlier plan that is not finished is dropped: call Withdraw first then.
  void Begin(std::shared_ptr<const intent::DocumentPlan> plan,
             const documents::ConfigFiles& wanted);
  /// Carries out the next step: one document, or some of the members that are emptied. Returns
  /// false if there is none left.
  bool Continue();
  /// Makes these VLANs outlive the documents that name them now, and no others: a document of the
  /// host's own names them, and nothing else. A VLAN that no document names any more goes inside
  /// this call. Only VLANs that exist can be kept.
  void Keep(const documents::VlanIds& vlans);
  const documents::VlanIds& GetKept() const { return m_kept; }
  /// Withdraws all documents, that of the kept VLANs included, and forgets what was begun.
  void Withdraw();

 private:
  void CarryOut(const intent::EmptiedMember& member);
  void CarryOut(const intent::DocumentLoad& load);
  void CarryOut(const intent::DocumentWithdrawal& withdrawal);

  documents::ConfigFiles m_applied;
  documents::ConfigFiles m_wanted;  // that become the applied ones with the last step
  documents::VlanIds m_kept;
  std::shared_ptr<const intent::DocumentPlan> m_plan;
  std::size_t m_next = 0;  // step
  /// All that the library has, also while a plan is being carried out.
  std::map<std::string, Tarsel::DclConfigObject::OptionType> m_names;
};

/// Returns the library's VLANs.
documents::VlanIds VlansOfLibrary();
/// Returns the protocols that the library's VLANs have enabled now.
documents::ProtocolSets FindRunningProtocols();

}  // namespace apply

#endif
