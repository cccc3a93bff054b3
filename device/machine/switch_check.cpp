#include "switch_check.h"

#include <net/if.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace machine {

namespace {

// The kernel's name may be another than the document's.
std::string NameOf(std::uint32_t index) {
  char name[IF_NAMESIZE];
  return if_indextoname(index, name) != nullptr ? name : "";
}

rows::Verdict VerdictOf(const kernel::Obstacles& obstacles, std::size_t mostLines) {
  rows::Verdict verdict;
  verdict.kind = "forwarding switches";
  verdict.rows = obstacles.switches;
  verdict.fails = obstacles.lines.size();
  for (std::size_t i = 0; i < std::min(mostLines, obstacles.lines.size()); ++i) {
    verdict.lines.push_back("kernel: " + obstacles.lines[i]);
  }
  return verdict;
}

}  // namespace

std::function<kernel::Obstacles()> MakeSwitchCheck(const keepers::Interfaces& interfaces,
                                                   const KernelRoutes& routes) {
  if (routes.GetSink() == nullptr) {
    return {};
  }
  std::vector<std::pair<std::uint32_t, bool>>
      entrances;  // by index, whether by a rule into its table
  for (const auto& [key, interface] : interfaces.Get()) {
    entrances.emplace_back(key.second, routes.GetTables().NeedsRules(key.first));
  }
  const kernel::RouteLedger& ledger = routes.GetSink()->GetLedger();
  const kernel::Families families{ledger.CountWanted() != ledger.CountWantedIp6(),
                                  ledger.CountWantedIp6() != 0};
  return [entrances = std::move(entrances), families] {
    std::vector<kernel::Entrance> named;
    for (const auto& [index, hasOwnTable] : entrances) {
      std::string name = NameOf(index);
      if (!name.empty()) {
        named.push_back({std::move(name), hasOwnTable});
      }
    }
    return kernel::FindObstacles(named, families);
  };
}

void SwitchVerifier::Verify(std::function<kernel::Obstacles()> check, std::size_t mostLines,
                            std::function<void(std::optional<rows::Verdict>)> done) {
  if (!check) {
    done(std::nullopt);
    return;
  }
  const auto found = std::make_shared<kernel::Obstacles>();
  const auto work = m_looking.emplace(m_looking.end(), m_loop);
  work->Start(
      [check = std::move(check), found] { *found = check(); },
      [this, work, found, mostLines, done = std::move(done)](const std::optional<std::string>&) {
        const auto tell = done;
        m_looking.erase(work);
        tell(VerdictOf(*found, mostLines));
      });
}

}  // namespace machine
