// Carries out document plans.
#ifndef DEVICE_APPLY_DOCUMENT_FEEDER_H
#define DEVICE_APPLY_DOCUMENT_FEEDER_H

#include <cstddef>
#include <memory>
#include <vector>

#include "device/intent/document_plan.h"
#include "device/intent/vlan_forecast.h"

namespace apply {

/// Knows which documents the library has, and loads the wanted ones.
class DocumentFeeder {
 public:
  /// Makes `wanted` the library's documents, with as many calls of Continue as it takes: loads them
  /// all, then withdraws the others. If the library has exactly these, as they were read then,
  /// there is nothing to do: to compare all rows of a large document takes the library long. What
  /// was begun before is not gone on with. A remote document that names a kept VLAN would keep it
  /// for good, so it has to wait for a Begin after that VLAN has gone.
  void Begin(const documents::ConfigFiles& wanted);
  /// Loads or withdraws the next document. Returns false if there is none left.
  bool Continue();
  /// Makes these VLANs outlive the documents that name them now, and no others: a document of the
  /// host's own names them, and nothing else. A VLAN that no document names any more goes inside
  /// this call. Only VLANs that exist can be kept.
  void Keep(const documents::VlanIds& vlans);
  const documents::VlanIds& GetKept() const { return m_kept; }
  /// Withdraws all documents, that of the kept VLANs included, and forgets what was begun.
  void Withdraw();
  /// The documents that the library has.
  const intent::AppliedDocuments& GetApplied() const { return m_applied; }

 private:
  void WithdrawFirst(intent::AppliedDocuments& documents);
  bool HasExactly(const documents::ConfigFiles& wanted) const;

  intent::AppliedDocuments m_applied;
  documents::VlanIds m_kept;
  intent::DocumentPlan m_plan;  // what is left of it, except for its first m_loaded documents
  std::size_t m_loaded = 0;
  /// All that the library has, in the order in which it was loaded; empty while that is not sure.
  /// Whoever else holds the files decides where they are freed.
  std::vector<std::weak_ptr<const documents::ConfigFile>> m_complete;
  std::vector<std::weak_ptr<const documents::ConfigFile>> m_begun;  // that becomes complete next
};

/// Returns the library's VLANs as they are now.
intent::PresentVlans FindPresentVlans();

/// Returns only which protocols they have enabled.
documents::ProtocolSets FindRunningProtocols();

}  // namespace apply

#endif
