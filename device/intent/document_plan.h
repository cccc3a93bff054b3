// What has to be asked of the library so that it has the wanted documents, and what goes with them.
#ifndef DEVICE_INTENT_DOCUMENT_PLAN_H
#define DEVICE_INTENT_DOCUMENT_PLAN_H

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "device/documents/config_folder.h"

namespace intent {

/// The documents that the library has, by name.
using AppliedDocuments = std::map<std::string, Tarsel::DclConfigObject::OptionType>;

struct DocumentPlan {
  /// To be handed over, in this order. Documents that have not changed are among them: the library
  /// compares row by row.
  documents::ConfigFiles reload;
  /// To be withdrawn after that.
  AppliedDocuments withdraw;
};

DocumentPlan PlanDocuments(const AppliedDocuments& applied, const documents::ConfigFiles& wanted);

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
