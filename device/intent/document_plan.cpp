#include "document_plan.h"

namespace intent {

DocumentPlan PlanDocuments(const AppliedDocuments& applied, const documents::ConfigFiles& wanted) {
  DocumentPlan plan{wanted, applied};
  for (const auto& file : wanted) {
    plan.withdraw.erase(file->name);
  }
  return plan;
}

}  // namespace intent
