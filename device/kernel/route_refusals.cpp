// What a ledger knows of refusals.
#include <algorithm>

#include "route_ledger.h"

namespace kernel {

std::size_t RouteLedger::Retry(const std::function<bool(const RouteKey&)>& isMeant) {
  const auto count = static_cast<std::size_t>(
      std::count_if(m_refusals.begin(), m_refusals.end(),
                    [&](const auto& refusal) { return isMeant(refusal.first); }));
  for (auto next = m_tries.begin(); next != m_tries.end();) {
    Node& node = *next->second;
    if (!isMeant(node.first)) {
      ++next;
      continue;
    }
    next = m_tries.erase(next);
    node.second.isWaiting = false;
    Schedule(node);
  }
  return count;
}

const Refusal* RouteLedger::FindRefusal(const RouteKey& key) const {
  const auto found = m_refusals.find(key);
  return found == m_refusals.end() ? nullptr : &found->second;
}

void RouteLedger::TellRefusals(
    std::size_t most, const std::function<void(const RouteKey&, const Refusal&)>& tell) const {
  for (auto next = m_refusals.begin(); most > 0 && next != m_refusals.end(); ++next, --most) {
    tell(next->first, next->second);
  }
}

}  // namespace kernel
