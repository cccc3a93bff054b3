// What a reloader tells of the device's state.
#include "reloader.h"

namespace apply {

bool Reloader::IsSettled() const {
  return !IsBusy() && !m_isToBringBack && m_applier.GetLeavingVlans().empty() &&
         m_knowledge.IsSettled();
}

Reloader::Unsettled Reloader::FindUnsettled() const {
  return {IsBusy(),
          m_isToBringBack,
          m_applier.GetLeavingVlans().size(),
          m_stack.IsHeld(),
          m_stack.IsReady(),
          m_stack.HasUnfinished(),
          m_knowledge.CountOpenRoutesAndRules(),
          m_knowledge.IsComparing(),
          m_knowledge.GetDifferences().IsRetrying()};
}

std::function<bool()> Reloader::MakeFolderCheck() const {
  return
      [folder = m_folder, inForce = m_intent] { return folder->DiffersFrom(inForce->GetFolder()); };
}

}  // namespace apply
