#include "rule_keeper.h"

#include <iterator>
#include <utility>
#include <vector>

#include "rule_rows.h"
#include "vantacore/cfg_sched.h"

namespace routes {

using intent::Destination;
using Tarsel::CfgItem;

namespace {

// How often it is looked for requests of which nothing will be heard.
constexpr unsigned int LOST_MILLISECONDS = 1000;

Destination FirstOf(unsigned short vlan) { return {vlan, false, 0}; }

}  // namespace

RuleKeeper::RuleKeeper(uv_loop_s* loop, const rows::StackPort& port, rows::Differences& differences)
    : m_port(port),
      m_differences(differences),
      m_turn(loop),
      m_requests(port, [this] { Post(); }),
      m_period("Redistribution"),
      m_lost("Lost rules") {
  m_period.SetCallback(new Tarsel::MemberCallback2<RuleKeeper, unsigned int, void*>(
      this, &RuleKeeper::WhenPeriodEnds));
  m_lost.SetCallback(
      new Tarsel::MemberCallback2<RuleKeeper, unsigned int, void*>(this, &RuleKeeper::LookForLost));
}

void RuleKeeper::SetWanted(SharedRules wanted) {
  m_wanted = std::move(wanted);
  m_wantedSince = m_port.Now();
  m_countWanted = 0;
  for (const auto& rule : *m_wanted) {
    ForEachRow(rule.first, rule.second, [this](const rows::RuleRow&) { ++m_countWanted; });
  }
  for (auto waiting = m_waiting.begin(); waiting != m_waiting.end();) {
    waiting = m_wanted->count(*waiting) == 0 ? m_waiting.erase(waiting) : std::next(waiting);
  }
  m_isLooking = true;
  m_looked.reset();
  Post();
}

bool RuleKeeper::HasLeavingRules(unsigned short vlan) const {
  bool isLeaving = false;
  for (auto rule = m_asked.lower_bound(FirstOf(vlan));
       rule != m_asked.end() && rule->first.vlan == vlan; ++rule) {
    if (HasInstance(rule->first)) {
      ForEachRow(rule->first, rule->second & ~SourcesOf(*m_wanted, rule->first),
                 [&](const rows::RuleRow& row) {
                   const RuleRequest* const request = m_requests.Find(row);
                   isLeaving |= !request || !request->isGivenUp || !request->isWithdrawal;
                 });
    }
  }
  return isLeaving;
}

void RuleKeeper::Forget() {
  m_requests.EndAll();
  m_wanted = std::make_shared<const intent::Rules>();
  m_countWanted = 0;
  m_asked.clear();
  m_isLooking = m_isLookingAgain = false;
  m_waiting.clear();
  m_period.Stop();
  m_lost.Stop();
}

void RuleKeeper::ForgetVlan(unsigned short vlan) {
  const auto begin = m_asked.lower_bound(FirstOf(vlan));
  auto end = begin;
  for (; end != m_asked.end() && end->first.vlan == vlan; ++end) {
    ForEachRow(end->first, end->second, [this](const rows::RuleRow& row) { Close(row); });
  }
  m_asked.erase(begin, end);
  for (auto rule = m_wanted->lower_bound(FirstOf(vlan));
       rule != m_wanted->end() && rule->first.vlan == vlan; ++rule) {
    m_waiting.insert(rule->first);
  }
  StartTimers();
}

std::size_t RuleKeeper::CountOpen() const {
  return m_requests.CountUnderWay() - m_requests.CountRepeats() +
         (m_isLooking || m_requests.HasNews() ? 1 : 0);
}

// ---- turns

void RuleKeeper::Post() {
  m_turn.Post([this] { Turn(); });
}

void RuleKeeper::Turn() {
  for (const RuleRequests::Outcome& outcome : m_requests.TakeOutcomes(DESTINATIONS_A_TURN)) {
    TakeIn(outcome);
  }
  const std::size_t left = LookAtWaiting(DESTINATIONS_A_TURN);
  LookAtAll(left);
  StartTimers();
  // Without room the next answer goes on.
  if (m_requests.HasNews() || ((m_isLooking || m_isLookingAgain) && HasRoom())) {
    Post();
  }
}

// An item that was dropped has changed nothing. What was done and is not to be seen all the same is
// a difference: asking for it at once could go on for ever.
void RuleKeeper::TakeIn(const RuleRequests::Outcome& outcome) {
  const bool isDone = outcome.kind == RuleRequests::Outcome::DONE;
  if (outcome.kind != RuleRequests::Outcome::GIVEN_UP) {
    SetAsked(outcome.row, isDone != outcome.isWithdrawal);
  }
  if (!isDone || outcome.isWithdrawal == IsWanted(outcome.row)) {
    Decide(outcome.row);
  }
  const rows::Standing standing = Look(outcome.row);
  if (standing.IsDifference()) {
    m_differences.Note(outcome.row, standing);
  } else if (m_differences.Find(outcome.row)) {
    m_differences.Heard(outcome.row);
  }
}

// Returns how many of `most` are left.
std::size_t RuleKeeper::LookAtWaiting(std::size_t most) {
  for (; m_isLookingAgain && most > 0 && HasRoom(); --most) {
    const auto next = m_lookedAgain ? m_waiting.upper_bound(*m_lookedAgain) : m_waiting.begin();
    if (next == m_waiting.end()) {
      m_isLookingAgain = false;
      break;
    }
    m_lookedAgain = *next;
    if (!IsStillWaiting(*m_lookedAgain)) {
      LookAt(*m_lookedAgain);
    }
  }
  return most;
}

std::size_t RuleKeeper::LookAtAll(std::size_t most) {
  for (; m_isLooking && most > 0 && HasRoom(); --most) {
    const std::optional<Destination> next = NextDestination(m_looked);
    if (!next) {
      m_isLooking = false;
      break;
    }
    m_looked = next;
    LookAt(*next);
  }
  return most;
}

std::optional<Destination> RuleKeeper::NextDestination(
    const std::optional<Destination>& last) const {
  std::optional<Destination> first;
  for (const intent::Rules* rules : {&m_asked, m_wanted.get()}) {
    const auto next = last ? rules->upper_bound(*last) : rules->begin();
    if (next != rules->end() && (!first || next->first < *first)) {
      first = next->first;
    }
  }
  return first;
}

void RuleKeeper::WhenPeriodEnds(unsigned int, void*) {
  m_isLookingAgain = true;
  m_lookedAgain.reset();
  Post();
}

// Their tables tell what has become of them.
void RuleKeeper::LookForLost(unsigned int, void*) {
  std::vector<rows::RuleRow> lost;
  for (const auto& [row, request] : m_requests.GetAll()) {
    if (m_requests.IsLost(request)) {
      lost.push_back(row);
    }
  }
  for (const rows::RuleRow& row : lost) {
    m_requests.GiveUp(row);
    TakeIn({row, false, RuleRequests::Outcome::GIVEN_UP});
  }
  StartTimers();
  if (!lost.empty()) {
    Post();  // there is room for others
  }
}

void RuleKeeper::StartTimers() {
  if (m_waiting.empty()) {
    m_period.Stop();
  } else if (!m_period.IsRunning()) {
    m_period.Start(Tarsel::CfgSched::TICKS_BETWEEN_PASSES);
  }
  if (m_requests.CountUnderWay() != 0 && !m_lost.IsRunning()) {
    m_lost.Start(LOST_MILLISECONDS);
  }
}

// ---- what is to be asked

void RuleKeeper::LookAt(const Destination& destination) {
  if (m_waiting.erase(destination) != 0 && !KnowsStack() && CanTakeRules(destination)) {
    ForEachRow(destination, SourcesOf(*m_wanted, destination),
               [this](const rows::RuleRow& row) { SetAsked(row, false); });
  }
  ForEachRow(destination, SourcesOf(m_asked, destination) | SourcesOf(*m_wanted, destination),
             [this](const rows::RuleRow& row) { Decide(row); });
}

// What has been sent decides with its answer. What has not, and is not wanted any more, gives way.
void RuleKeeper::Decide(const rows::RuleRow& row) {
  const RuleRequest* request = m_requests.Find(row);
  const bool isWanted = IsWanted(row);
  if (request && IsUnderWay(*request)) {
    const bool isSent =
        !request->item || request->news || request->item->GetActionState() == CfgItem::ISSUED;
    if (isSent || request->isWithdrawal != isWanted) {
      return;
    }
  }
  isWanted ? DecideWanted(row, request) : DecideUnwanted(row, request);
}

// A protocol that is not ready may lose its rules, so all of them are looked at again when it is.
void RuleKeeper::DecideWanted(const rows::RuleRow& row, const RuleRequest* request) {
  if (!CanTakeRules(row.destination)) {
    if (IsStillWaiting(row.destination)) {
      m_waiting.insert(row.destination);
    }
    SetAsked(row, m_port.KnowsTables() ? KnowsStack() && HasStack(row) : IsAsked(row));
    Close(row);
    return;
  }
  if (KnowsStack() ? HasStack(row) : IsAsked(row) && !request) {
    SetAsked(row, true);
    Close(row);
  } else if (!request || !request->isGivenUp || request->isWithdrawal) {
    SetAsked(row, true);
    m_requests.Send(row, false, false);
  }
}

void RuleKeeper::DecideUnwanted(const rows::RuleRow& row, const RuleRequest* request) {
  if (!IsAsked(row) || !HasInstance(row.destination) || (KnowsStack() && !HasStack(row))) {
    SetAsked(row, false);
    Close(row);
  } else if (!request || !request->isGivenUp || !request->isWithdrawal) {
    m_requests.Send(row, true, false);
  }
}

// There is nothing to be asked for.
void RuleKeeper::Close(const rows::RuleRow& row) {
  m_requests.End(row);
  if (m_differences.Find(row)) {
    m_differences.Heard(row);
  }
}

bool RuleKeeper::IsWanted(const rows::RuleRow& row) const {
  return (SourcesOf(*m_wanted, row.destination) & BitOf(row.source)) != 0;
}

bool RuleKeeper::IsAsked(const rows::RuleRow& row) const {
  return (SourcesOf(m_asked, row.destination) & BitOf(row.source)) != 0;
}

void RuleKeeper::SetAsked(const rows::RuleRow& row, bool isAsked) {
  const intent::Sources others = SourcesOf(m_asked, row.destination) & ~BitOf(row.source);
  const intent::Sources sources = isAsked ? others | BitOf(row.source) : others;
  if (sources != 0) {
    m_asked[row.destination] = sources;
  } else {
    m_asked.erase(row.destination);
  }
}

bool RuleKeeper::IsUnderWay(const RuleRequest& request) const {
  return !request.isGivenUp && !m_requests.IsLost(request);
}

// What the stack has, or what it has said if it shows nothing.
bool RuleKeeper::HasStack(const rows::RuleRow& row) const {
  if (KnowsStack()) {
    return m_port.HasRule(row);
  }
  const RuleRequest* const request = m_requests.Find(row);
  return IsAsked(row) && (!request || request->isWithdrawal);
}

bool RuleKeeper::IsToBeLookedAt(const Destination& destination) const {
  return (m_isLooking && (!m_looked || *m_looked < destination)) ||
         m_waiting.count(destination) != 0;
}

}  // namespace routes
