// Which VLANs will be gone, and which protocols will run, once the wanted documents have been applied.
// The library decides that while it applies them (DcRouterMgr::Reload, in src/manager/reload.cpp); here
// the same rules say it beforehand, for what has to be taken away before. Whoever changes one of the two
// places changes both.
#ifndef DEVICE_INTENT_VLAN_FORECAST_H
#define DEVICE_INTENT_VLAN_FORECAST_H

#include <map>
#include <set>
#include <string>

#include "document_plan.h"

namespace intent {

/// What the library knows of its VLANs: of each, the documents that configure it and the protocols that
/// are enabled.
struct PresentVlan {
  std::set<std::string> documents;
  unsigned int protocols = 0;  // bit n stands for the protocol type n
};
using PresentVlans = std::map<unsigned short, PresentVlan>;

/// The VLANs that will be gone when the wanted documents have been applied. A VLAN stays when the VLAN
/// document names it, or when a document that keeps it now still does. A remote document that names it
/// only from now on may come too late to keep it.
documents::VlanIds FindLeavingVlans(const PresentVlans& present,
                                    const documents::ConfigFiles& wanted);

/// The protocols that will be enabled when the wanted documents have been applied. A protocol runs when
/// the VLAN document enables it. A remote document is for protocols that run: it can keep one enabled,
/// when it is known already, but cannot start one.
documents::ProtocolSets FindEnabledProtocols(const PresentVlans& present,
                                             const AppliedDocuments& applied,
                                             const documents::ConfigFiles& wanted);

}  // namespace intent

#endif
