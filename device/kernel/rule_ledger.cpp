#include "rule_ledger.h"

#include <algorithm>
#include <iterator>

namespace kernel {

void RuleLedger::Want(Rules rules) {
  m_wanted = std::move(rules);
  m_interfaces.clear();
  for (const Rule& rule : m_wanted) {
    m_interfaces.emplace(rule.isIp6, rule.interface);
  }
  Plan();
}

void RuleLedger::BeginSweep() {
  m_isLearning = false;
  Plan();
}

void RuleLedger::SetHasIp6(bool hasIp6) {
  m_hasIp6 = hasIp6;
  Plan();
}

bool RuleLedger::IsWanted(const Rule& rule) const {
  return (m_hasIp6 || !rule.isIp6) && m_wanted.count(rule) != 0;
}

bool RuleLedger::Goes(const Rule& rule) const {
  return !IsWanted(rule) &&
         (!m_isLearning || m_interfaces.count({rule.isIp6, rule.interface}) != 0);
}

bool RuleLedger::Waits(const Rule& rule) const {
  const auto refusal = m_refusals.find(rule);
  return refusal != m_refusals.end() && refusal->second.nextAt > m_now();
}

// ---- requests

// The end of a lookup comes first and goes last; in between a lookup goes before another comes.
void RuleLedger::Plan() {
  for (auto refusal = m_refusals.begin(); refusal != m_refusals.end();) {
    const bool isOver = refusal->second.isOfDeletion
                            ? IsWanted(refusal->first) || !Stands(refusal->first)
                            : !IsWanted(refusal->first) || Stands(refusal->first);
    refusal = isOver ? m_refusals.erase(refusal) : std::next(refusal);
  }
  m_plan.clear();
  if (m_inFlight.empty()) {
    PlanMissing(true);
    PlanGoing(false);
    PlanMissing(false);
    PlanGoing(true);
  }
}

void RuleLedger::PlanMissing(bool areEnds) {
  for (const Rule& rule : m_wanted) {
    if (rule.EndsLookup() == areEnds && IsWanted(rule) && !Stands(rule) && !Waits(rule)) {
      m_plan.push_back({rule, false, 0});
    }
  }
}

void RuleLedger::PlanGoing(bool areEnds) {
  for (const Rule& rule : m_standing) {
    if (rule.EndsLookup() == areEnds && Goes(rule) && !Waits(rule)) {
      m_plan.push_back({rule, true, 0});
    }
  }
}

bool RuleLedger::FillBatch(RuleBatch& batch, std::size_t most) {
  bool hasDeletion = false;
  for (; most != 0 && !m_plan.empty(); --most) {
    Request& request = m_plan.front();
    request.sequence = ++m_sequence;
    hasDeletion = hasDeletion || request.isDeletion;
    request.isDeletion ? batch.Delete(request.rule, request.sequence)
                       : batch.Add(request.rule, request.sequence);
    m_inFlight.push_back(std::move(request));
    m_plan.pop_front();
  }
  return hasDeletion;
}

void RuleLedger::TakeAnswer(const Answer& answer) {
  const auto its = std::find_if(
      m_inFlight.begin(), m_inFlight.end(),
      [&answer](const Request& request) { return request.sequence == answer.sequence; });
  if (its == m_inFlight.end()) {
    return;
  }
  for (bool isIts = false; !isIts;) {
    const Request request = std::move(m_inFlight.front());
    m_inFlight.pop_front();
    isIts = request.sequence == answer.sequence;
    Take(request, isIts ? answer : Answer{});
  }
  if (m_inFlight.empty() && m_plan.empty()) {  // what is left of a plan is still to be done
    Plan();
  }
}

void RuleLedger::Take(const Request& request, const Answer& answer) {
  if (answer.error == 0 || (request.isDeletion && IsGone(answer.error))) {
    m_refusals.erase(request.rule);
    if (request.isDeletion) {
      m_standing.erase(request.rule);
    } else {
      m_standing.insert(request.rule);
    }
    ++(request.isDeletion ? m_totals.deleted : m_totals.added);
    return;
  }
  Refusal& refusal = m_refusals[request.rule];
  refusal.error = answer.error;
  refusal.reason = answer.reason;
  refusal.isOfDeletion = request.isDeletion;
  ++refusal.tries;
  refusal.nextAt = m_now() + PauseAfterTries(refusal.tries);
}

void RuleLedger::LoseAnswers() {
  m_inFlight.clear();
  Plan();
}

void RuleLedger::AskAgain(bool isAtOnce) {
  const std::uint64_t now = m_now();
  bool isTime = false;
  for (auto& [rule, refusal] : m_refusals) {
    refusal.nextAt = isAtOnce ? std::min(refusal.nextAt, now) : refusal.nextAt;
    isTime = isTime || refusal.nextAt <= now;
  }
  if (isTime) {
    Plan();
  }
}

std::optional<std::uint64_t> RuleLedger::FindNextTry() const {
  std::optional<std::uint64_t> next;
  for (const auto& [rule, refusal] : m_refusals) {
    next = std::min(next.value_or(refusal.nextAt), refusal.nextAt);
  }
  return next;
}

// ---- comparison

void RuleLedger::EndComparison() {
  m_comparison = {};
  for (const Rule& rule : m_standing) {
    if (IsWanted(rule) && m_found.count(rule) == 0) {
      m_comparison.missing.push_back(rule);
    }
  }
  for (const Rule& rule : m_found) {
    if (Goes(rule) && !Stands(rule)) {
      m_comparison.strays.push_back(rule);
    }
  }
  m_totals.missing += m_comparison.missing.size();
  m_totals.strays += m_comparison.strays.size();
  m_standing = std::move(m_found);
  m_found.clear();
  Plan();
}

// ---- numbers

std::size_t RuleLedger::CountWanted() const {
  return static_cast<std::size_t>(
      std::count_if(m_wanted.begin(), m_wanted.end(),
                    [this](const Rule& rule) { return m_hasIp6 || !rule.isIp6; }));
}

std::size_t RuleLedger::CountStanding() const {
  return static_cast<std::size_t>(std::count_if(
      m_standing.begin(), m_standing.end(), [this](const Rule& rule) { return IsWanted(rule); }));
}

}  // namespace kernel
