// What has to be asked of the library so that it has the wanted documents.
#ifndef DEVICE_INTENT_DOCUMENT_PLAN_H
#define DEVICE_INTENT_DOCUMENT_PLAN_H

#include <map>
#include <string>

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

}  // namespace intent

#endif
