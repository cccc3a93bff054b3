// Which VLANs will be gone, and which protocols will run, once the wanted documents have been
// applied. The library decides that while it applies them (DcRouterMgr::Reload, in
// src/manager/reload.cpp). Some things have to be withdrawn before that, so the same rules are
// here. Change both places together.
#ifndef DEVICE_INTENT_VLAN_FORECAST_H
#define DEVICE_INTENT_VLAN_FORECAST_H

#include <map>
#include <set>
#include <string>

#include "document_plan.h"

namespace intent {

/// A VLAN as the library has it: the documents that configure it and the protocols that are
/// enabled.
struct PresentVlan {
  std::set<std::string> documents;
  unsigned int protocols = 0;  // bit n stands for the protocol type n
};
using PresentVlans = std::map<unsigned short, PresentVlan>;

/// Returns the VLANs that will be gone when the wanted documents have been applied. A VLAN stays if
/// the VLAN document names it, or if a document that names it now still does. A remote document
/// that begins to name it only now may be loaded too late to keep it.
documents::VlanIds FindLeavingVlans(const PresentVlans& present,
                                    const documents::ConfigFiles& wanted);

/// Returns the protocols that will be enabled when the wanted documents have been applied. The VLAN
/// document can enable a protocol. A remote document reaches only protocols that are enabled: if it
/// has been applied before, it can keep one enabled, but it cannot enable one.
documents::ProtocolSets FindEnabledProtocols(const PresentVlans& present,
                                             const AppliedDocuments& applied,
                                             const documents::ConfigFiles& wanted);

}  // namespace intent

#endif
