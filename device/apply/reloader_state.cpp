// What a reloader tells of the device's state.
#include <memory>
#include <utility>

#include "document_feeder.h"
#include "reloader.h"
#include "self_check.h"

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

std::function<std::vector<rows::Verdict>()> Reloader::MakeSelfCheck() const {
  const auto folder = std::make_shared<InForce>();
  folder->intent = m_intent;
  folder->undone = m_history->GetUndone();
  folder->revision = m_inForce ? m_inForce->number : 0;
  folder->trial = m_history->GetTrial();
  folder->secondsOfTrial = folder->trial != 0 ? CountSecondsOfTrial() : 0;
  const auto asked = std::make_shared<Asked>();
  asked->isBeingTold = m_isToBringBack || m_applier.IsBusy();
  asked->leaving = m_applier.GetLeavingVlans();
  asked->vlans = VlansOfLibrary();
  asked->interfaces = m_interfaces.GetIndexes();
  asked->running = FindRunningProtocols();
  asked->routes = m_knowledge.GetRoutes().GetWanted();
  asked->toAsk = m_knowledge.GetRoutes().CountToAsk();
  asked->rules = m_knowledge.GetRules().GetWanted();
  return [folder, asked, directory = m_directory, howToRead = m_howToRead] {
    return std::vector<rows::Verdict>{VerifyFolder(directory, howToRead, *folder),
                                      VerifyAsked(*folder->intent, *asked)};
  };
}

}  // namespace apply
