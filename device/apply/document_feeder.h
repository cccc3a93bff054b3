// Carries out document plans.
#ifndef DEVICE_APPLY_DOCUMENT_FEEDER_H
#define DEVICE_APPLY_DOCUMENT_FEEDER_H

#include "device/intent/document_plan.h"
#include "device/intent/vlan_forecast.h"

namespace apply {

/// Knows which documents the library has, and loads the wanted ones.
class DocumentFeeder {
 public:
  /// Makes `wanted` the library's documents: loads them all, then withdraws the others.
  void Push(const documents::ConfigFiles& wanted);
  /// Withdraws all documents.
  void Withdraw() { Push({}); }
  /// The documents that the library has.
  const intent::AppliedDocuments& GetApplied() const { return m_applied; }

 private:
  intent::AppliedDocuments m_applied;
};

/// Returns the library's VLANs as they are now.
intent::PresentVlans FindPresentVlans();

}  // namespace apply

#endif
