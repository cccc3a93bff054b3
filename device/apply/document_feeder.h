// Carries out document plans.
#ifndef DEVICE_APPLY_DOCUMENT_FEEDER_H
#define DEVICE_APPLY_DOCUMENT_FEEDER_H

#include "device/intent/document_plan.h"
#include "device/intent/vlan_forecast.h"

namespace apply {

/// Knows which documents the library has, and hands it the wanted ones.
class DocumentFeeder {
 public:
  /// Makes `wanted` the documents of the library.
  void Push(const documents::ConfigFiles& wanted);
  /// Takes all documents away.
  void Withdraw() { Push({}); }
  /// The documents that the library has.
  const intent::AppliedDocuments& GetApplied() const { return m_applied; }

 private:
  intent::AppliedDocuments m_applied;
};

/// The VLANs of the library as they are now.
intent::PresentVlans FindPresentVlans();

}  // namespace apply

#endif
