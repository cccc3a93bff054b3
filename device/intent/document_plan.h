// The documents to load and to withdraw so that the library has the wanted ones.
#ifndef DEVICE_INTENT_DOCUMENT_PLAN_H
#define DEVICE_INTENT_DOCUMENT_PLAN_H

#include <map>
#include <string>

#include "device/documents/folder.h"

namespace intent {

/// The documents that the library has, by name.
using AppliedDocuments = std::map<std::string, Tarsel::DclConfigObject::OptionType>;

struct DocumentPlan {
  /// To be loaded, in this order. Unchanged documents are among them: the library compares row by
  /// row.
  documents::ConfigFiles reload;
  /// To be withdrawn after that.
  AppliedDocuments withdraw;
};

DocumentPlan PlanDocuments(const AppliedDocuments& applied, const documents::ConfigFiles& wanted);

}  // namespace intent

#endif
