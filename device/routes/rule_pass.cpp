// How rules are held against the stack, and what is still to be sent.
#include <algorithm>
#include <vector>

#include "device/documents/router_members.h"
#include "rule_keeper.h"
#include "rule_rows.h"

namespace routes {

using intent::Destination;
using Tarsel::CfgItem;

namespace {

// Whether the stack has been told to withdraw the rule.
bool IsWithdrawn(const RuleRequest* request) {
  return request && request->isWithdrawal &&
         (!request->item || request->news || request->isRetried || request->isGivenUp ||
          request->item->GetActionState() == CfgItem::ISSUED);
}

bool IsAmong(const documents::ProtocolSets& protocols, const Destination& destination) {
  const auto found = protocols.find(destination.vlan);
  return found != protocols.end() &&
         (found->second & documents::BitOf(intent::RouterTypeOf(destination))) != 0;
}

}  // namespace

bool RuleKeeper::IsToWithdraw(const documents::ProtocolSets& from) const {
  return !from.empty() && std::any_of(m_asked.begin(), m_asked.end(), [&](const auto& rule) {
    bool isToDo = false;
    if (IsAmong(from, rule.first) && CanTakeRules(rule.first)) {
      ForEachRow(rule.first, rule.second & ~SourcesOf(*m_wanted, rule.first),
                 [&](const rows::RuleRow& row) { isToDo |= !IsWithdrawn(m_requests.Find(row)); });
    }
    return isToDo;
  });
}

rows::Standing RuleKeeper::Look(const rows::Row& anyRow) const {
  const rows::RuleRow& row = std::get<rows::RuleRow>(anyRow);
  rows::Standing standing;
  const RuleRequest* const request = m_requests.Find(row);
  if (request && IsUnderWay(*request)) {
    standing.kind = rows::Standing::Kind::UNDER_WAY;
    standing.since = request->since;
    return standing;
  }
  const bool isWanted = IsWanted(row);
  const bool canChange = isWanted ? CanTakeRules(row.destination) : HasInstance(row.destination);
  if (isWanted == HasStack(row) || !canChange) {
    return standing;
  }
  if (IsToBeLookedAt(row.destination)) {
    standing.kind = rows::Standing::Kind::UNDER_WAY;
    standing.since = m_wantedSince;
    return standing;
  }
  standing.kind = isWanted ? rows::Standing::Kind::MISSING : rows::Standing::Kind::UNWANTED;
  standing.status = request ? request->status : 0;
  return standing;
}

void RuleKeeper::AskAgain(const rows::Row& anyRow) {
  const rows::RuleRow& row = std::get<rows::RuleRow>(anyRow);
  SetAsked(row, true);
  m_requests.Send(row, !IsWanted(row), true);
  StartTimers();
}

void RuleKeeper::BeginPass() {
  m_pass = Pass::WANTED;
  m_passed.reset();
  m_passedRow.reset();
}

bool RuleKeeper::ContinuePass(std::size_t most, const Found& found) {
  switch (m_pass) {
    case Pass::WANTED:
      m_pass = PassOverWanted(most, found) ? Pass::WANTED : Pass::STACK;
      return true;
    case Pass::STACK:
      m_pass = PassOverStack(most, found) ? Pass::STACK : Pass::REQUESTS;
      return true;
    case Pass::REQUESTS:
      PassOverRequests(found);
      break;
  }
  return false;
}

bool RuleKeeper::PassOverWanted(std::size_t most, const Found& found) {
  auto rule = m_passed ? m_wanted->upper_bound(*m_passed) : m_wanted->begin();
  for (std::size_t count = 0; count < most && rule != m_wanted->end(); ++rule) {
    ForEachRow(rule->first, rule->second, [&](const rows::RuleRow& row) {
      Tell(row, found);
      ++count;
    });
    m_passed = rule->first;
  }
  return rule != m_wanted->end();
}

bool RuleKeeper::PassOverStack(std::size_t most, const Found& found) {
  const std::vector<rows::RuleRow> rows =
      m_port.ReadRules(m_passedRow ? &*m_passedRow : nullptr, most);
  for (const rows::RuleRow& row : rows) {
    if (!IsWanted(row)) {
      Tell(row, found);
    }
    m_passedRow = row;
  }
  return !rows.empty();
}

// Those for rules that are neither wanted nor in the stack's table: they may come, or have just
// gone.
void RuleKeeper::PassOverRequests(const Found& found) {
  for (const auto& request : m_requests.GetAll()) {
    if (!IsWanted(request.first) && !(KnowsStack() && HasStack(request.first))) {
      Tell(request.first, found);
    }
  }
}

void RuleKeeper::Tell(const rows::RuleRow& row, const Found& found) const {
  const rows::Standing standing = Look(row);
  if (standing.kind != rows::Standing::Kind::EQUAL) {
    found(row, standing);
  }
}

}  // namespace routes
