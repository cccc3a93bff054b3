#include "kernel_rules.h"

#include <net/if.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "device/kernel/link.h"
#include "device/program/counted.h"

namespace machine {

namespace {

constexpr const char* RULES = "rules in the kernel";  // as `verify` calls them

// A link's name is the kernel's; a document may call others as it likes. Empty: it is not there.
std::string NameOf(std::uint32_t index, const documents::Interface& interface) {
  if (interface.isLink) {
    return interface.name;
  }
  char name[IF_NAMESIZE];
  return if_indextoname(index, name) != nullptr ? name : "";
}

rows::Verdict VerdictOf(const kernel::RuleLedger& ledger, const kernel::RuleKeeper::Result& result,
                        std::size_t mostLines) {
  rows::Verdict verdict;
  verdict.kind = RULES;
  verdict.rows = ledger.CountWanted();
  const auto fail = [&](const std::string& line, std::size_t rules = 1) {
    verdict.fails += rules;
    if (verdict.lines.size() < mostLines) {
      verdict.lines.push_back("kernel: " + line);
      verdict.besides = rules - 1;
    }
  };
  if (!result.isComplete) {
    fail("its rules could not be read");
  }
  for (const kernel::Rule& rule : result.comparison.missing) {
    fail("rule " + kernel::DescribeRule(rule) + " was missing, put back now");
  }
  for (const kernel::Rule& rule : result.comparison.strays) {
    fail("rule " + kernel::DescribeRule(rule) + " was there and nobody wants it, removed now");
  }
  std::size_t told = result.comparison.missing.size();
  for (const auto& [rule, refusal] : ledger.GetRefusals()) {
    told += refusal.isOfDeletion ? 0 : 1;
    fail("rule " + kernel::DescribeRule(rule) +
         (refusal.isOfDeletion ? " is not given up: " : " is refused: ") +
         kernel::DescribeRefusal(refusal));
  }
  const std::size_t absent = ledger.CountWanted() - ledger.CountStanding();
  if (absent > told) {
    fail(program::Counted(absent - told, "rule is", "rules are") + " under way", absent - told);
  }
  return verdict;
}

}  // namespace

KernelRules::KernelRules(uv_loop_s* loop, const keepers::Interfaces& interfaces, Hooks hooks)
    : m_loop(loop), m_interfaces(interfaces), m_hooks(std::move(hooks)) {}

void KernelRules::Apply(const documents::Device& device, const KernelTables& tables) {
  m_tables = tables;
  m_isEnding = !device.kernel.writesRules || !device.kernel.writesRoutes;
  m_problem.clear();
  if (!m_isEnding) {
    if (m_keeper || Open(true)) {
      Refresh();
    }
  } else if (m_keeper || (device.kernel.writesRoutes && Open(false))) {
    m_keeper->Want({});
    m_keeper->Sweep();
  }
}

// A device that writes routes, but no rules, takes away what an earlier run of it has left.
bool KernelRules::Open(bool isToWrite) {
  try {
    m_keeper = std::make_unique<kernel::RuleKeeper>(m_loop, m_hooks.now, m_hooks.open, m_hooks.log);
    return true;
  } catch (const std::runtime_error& problem) {
    if (isToWrite) {
      m_problem = problem.what();
      m_hooks.log("No rules are written into the kernel: " + m_problem);
    }
    return false;
  }
}

void KernelRules::Refresh() {
  if (m_keeper && !m_isEnding) {
    m_keeper->Want(FindWanted());
  }
}

void KernelRules::Compare() {
  Refresh();
  if (m_keeper) {
    m_keeper->Compare({});
  }
}

void KernelRules::Shut() {
  if (m_keeper) {
    m_keeper->Shut();
    m_keeper.reset();
  }
}

// First everything goes, then so does the keeper.
void KernelRules::GoOn(bool areRoutesSwept) {
  if (!m_isEnding) {
    if (areRoutesSwept) {
      m_keeper->Sweep();
    }
  } else if (m_keeper->IsSettled() && m_keeper->GetLedger().CountRefused() == 0) {
    m_keeper.reset();
  }
}

// The kernel can tell packets apart by their interface only: one that several VLANs have is the
// first one's.
kernel::Rules KernelRules::FindWanted() const {
  std::map<std::uint32_t, unsigned short> vlans;
  kernel::Rules wanted;
  for (const auto& [key, interface] : m_interfaces.Get()) {
    const bool isNew = vlans.emplace(key.second, key.first).second;
    const auto table = m_tables.Of(key.first);
    // What the machine itself sends is no VLAN's.
    if (!isNew || !table || !m_tables.NeedsRules(key.first) ||
        key.second == kernel::LOOPBACK_INDEX) {
      continue;
    }
    const std::string name = NameOf(key.second, interface);
    for (const bool isIp6 : {false, true}) {
      if (!name.empty()) {
        wanted.insert({isIp6, name, *table, {}});
        wanted.insert({isIp6, name, 0, {}});
      }
    }
  }
  return wanted;
}

void KernelRules::Verify(std::size_t mostLines,
                         std::function<void(std::optional<rows::Verdict>)> done) {
  if (!m_keeper || m_isEnding) {
    std::optional<rows::Verdict> verdict;
    if (!m_problem.empty()) {
      verdict = rows::Verdict{RULES, 0, 1, {"kernel: no rules are written: " + m_problem}};
    }
    done(std::move(verdict));
    return;
  }
  Refresh();
  m_keeper->Compare([this, mostLines, done = std::move(done)](const auto& result) {
    done(VerdictOf(m_keeper->GetLedger(), result, mostLines));
  });
}

}  // namespace machine
