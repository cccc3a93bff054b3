// How the library's documents become the wanted ones.
#ifndef DEVICE_INTENT_DOCUMENT_PLAN_H
#define DEVICE_INTENT_DOCUMENT_PLAN_H

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "device/documents/folder.h"
#include "document_cut.h"

namespace intent {

/// A document to be handed over.
struct DocumentLoad {
  std::shared_ptr<const documents::ConfigFile> file;
  std::shared_ptr<const Tarsel::Options> cut;  // what is handed over of it; null for all
};

/// A document to be withdrawn.
struct DocumentWithdrawal {
  std::string name;
  Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS;
};

using DocumentStep = std::variant<EmptiedMember, DocumentLoad, DocumentWithdrawal>;

struct DocumentPlan {
  std::vector<DocumentStep> steps;  // to be carried out in this order
  /// Protocols that run and will not any more, in VLANs that stay.
  documents::ProtocolSets stopping;
};

/// Both are whole folders' documents, in their order; `applied` are those that the library has, as an
/// earlier plan has handed them over.
///
/// A router drops the lists of a member that goes without a word to the stack. So each member that
/// goes is emptied first, as long as its protocol runs. Those of protocols that stop come before
/// everything else, those of the VLAN document first: from then on that one alone keeps the protocol
/// running. Those of protocols that go on come just before their document, after those that
/// may have the same rows from now on. Members of a VLAN that goes are left alone: the VLAN takes its
/// rows with it.
///
/// Documents of which the library has the same are left out. Of a remote document that has not
/// changed it has something else if a VLAN or a protocol has come that it names, or has gone.
DocumentPlan PlanDocuments(const documents::ConfigFiles& applied,
                           const documents::ConfigFiles& wanted);

}  // namespace intent

#endif
