// Each difference is in one of two queues: that of all which are looked at when their time has
// come, or that of its VLAN, if its time has come and the VLAN has no place for another repeat. A
// place that becomes free lets the first of the VLAN's queue back into the other one. So no row is
// looked at more often than once for each repeat or answer, however many there are.
#include "differences.h"

#include <algorithm>
#include <utility>

namespace rows {

namespace {

// Freeing one takes a tenth of a microsecond.
constexpr std::size_t FREED_A_TURN = 5000;
// Ending a pause takes two microseconds at most.
constexpr std::size_t RETRIED_A_TURN = 500;

std::uint64_t PauseAfter(unsigned int repeats) {
  // Before this many doublings the longest pause has been reached.
  constexpr unsigned int MOST_DOUBLINGS = 16;
  return std::min(Differences::FIRST_REPEAT_MILLISECONDS << std::min(repeats, MOST_DOUBLINGS),
                  Differences::LONGEST_REPEAT_MILLISECONDS);
}

// The requests of the other rows do not pass through the library's scheduler. Routes and rules may
// be waiting for them: for their instance, above all.
bool TakesPlace(const Row& row) {
  return std::holds_alternative<RouteRow>(row) || std::holds_alternative<RuleRow>(row);
}

bool IsOfPrefix(const Row& row, const documents::RouteTarget& prefix) {
  const RouteRow* const route = std::get_if<RouteRow>(&row);
  return route != nullptr && route->target.vlan == prefix.vlan && route->target.ip6 == prefix.ip6 &&
         route->target.destination == prefix.destination && route->target.length == prefix.length;
}

}  // namespace

bool Differences::IsEarlier::operator()(All::iterator a, All::iterator b) const {
  return a->second.next != b->second.next ? a->second.next < b->second.next : a->first < b->first;
}

Differences::Differences(uv_loop_s* loop, const StackPort& port,
                         std::function<void(const std::string&)> report,
                         std::function<Keeper&(const Row&)> keeperOf, InterfaceNames names)
    : m_port(port),
      m_report(std::move(report)),
      m_keeperOf(std::move(keeperOf)),
      m_names(std::move(names)),
      m_turn(loop),
      m_timer("Differences") {
  m_timer.SetCallback(
      new Tarsel::MemberCallback2<Differences, unsigned int, void*>(this, &Differences::WhenDue));
}

void Differences::Note(const Row& row, const Standing& standing) {
  if (!standing.IsDifference()) {
    return;
  }
  const auto known = m_all.find(row);
  if (known == m_all.end()) {
    Begin(row, standing);
  } else {
    Answer(known, standing);
  }
  Schedule();
}

void Differences::Heard(const Row& row) {
  m_heard.insert(row);
  Schedule();
}

void Differences::LookAtAll() {
  m_isLookingAtAll = !m_all.empty();
  m_looked.reset();
  Schedule();
}

Differences::Retry Differences::RetryAll() {
  m_isRetrying = !m_all.empty();
  m_retried.reset();
  Schedule();
  return {m_all.size() - m_asked, m_asked};
}

// Rows are in the order of their VLANs, and within a VLAN in that of prefixes. VLANs without such
// rows are skipped.
Differences::Retry Differences::RetryRoutes(documents::RouteTarget prefix) {
  Retry retry;
  prefix.vlan = 0;
  prefix.gateway = {};
  for (;;) {
    const auto row = m_all.lower_bound(RouteRow{prefix, 0});
    const RouteRow* const route = row != m_all.end() ? std::get_if<RouteRow>(&row->first) : nullptr;
    if (route != nullptr && route->target.vlan != prefix.vlan) {
      prefix.vlan = route->target.vlan;
      continue;
    }
    for (auto next = row; next != m_all.end() && IsOfPrefix(next->first, prefix); ++next) {
      ++(EndPause(next) ? retry.count : retry.underWay);
    }
    if (route == nullptr || ++prefix.vlan == 0) {
      Schedule();
      return retry;
    }
  }
}

// Returns whether it is asked for as soon as its VLAN has a place: not one that is under way.
bool Differences::EndPause(All::iterator row) {
  if (row->second.isAsked) {
    return false;
  }
  const bool isEarly = row->second.next > m_port.Now();
  SetRetried(row->second, true, isEarly || row->second.isHastened);
  if (isEarly) {
    m_due.erase(row);
    row->second.next = m_port.Now();
    m_due.insert(row);
  }
  return true;
}

void Differences::RetrySome() {
  for (std::size_t i = 0; m_isRetrying && i < RETRIED_A_TURN; ++i) {
    const auto next = m_retried ? m_all.upper_bound(*m_retried) : m_all.begin();
    m_isRetrying = next != m_all.end();
    if (m_isRetrying) {
      m_retried = next->first;
      EndPause(next);
    }
  }
}

void Differences::Forget() {
  m_heard.clear();
  m_isLookingAtAll = false;
  m_isRetrying = false;
  m_counts = {};
  m_vlanCounts.clear();
  m_asked = 0;
  m_retriedRows = 0;
  m_forgotten.push_back(
      {std::exchange(m_all, {}), std::exchange(m_due, {}), std::exchange(m_vlans, {})});
  Schedule();
}

const Differences::Difference* Differences::Find(const Row& row) const {
  const auto found = m_all.find(row);
  return found == m_all.end() ? nullptr : &found->second;
}

// None of the rows that are heard of, all of them and those that are due keeps the others waiting
// for ever.
void Differences::Turn() {
  std::size_t left = LOOKS_A_TURN;
  for (; left > LOOKS_A_TURN / 2 && !m_heard.empty(); --left) {
    const Row row = *m_heard.begin();
    m_heard.erase(m_heard.begin());
    Hear(row);
  }
  left -= LookAtSome(left / 2);
  RetrySome();
  const std::uint64_t now = m_port.Now();
  for (; left > 0 && !m_due.empty() && (*m_due.begin())->second.next <= now; --left) {
    LookAtDue(*m_due.begin());
  }
  FreeSlice();
  Schedule();
}

// Returns how many it has looked at.
std::size_t Differences::LookAtSome(std::size_t most) {
  std::size_t count = 0;
  for (; m_isLookingAtAll && count < most; ++count) {
    const auto next = m_looked ? m_all.upper_bound(*m_looked) : m_all.begin();
    m_isLookingAtAll = next != m_all.end();
    if (m_isLookingAtAll) {
      m_looked = next->first;
      Hear(*m_looked);
    }
  }
  return count;
}

// The queues first: they refer to the rows.
void Differences::FreeSlice() {
  for (std::size_t most = FREED_A_TURN; most > 0 && !m_forgotten.empty(); --most) {
    Remains& first = m_forgotten.front();
    if (!first.due.empty()) {
      first.due.erase(first.due.begin());
    } else if (!first.vlans.empty()) {
      Queue& waiting = first.vlans.begin()->second.waiting;
      if (waiting.empty()) {
        first.vlans.erase(first.vlans.begin());
      } else {
        waiting.erase(waiting.begin());
      }
    } else if (!first.all.empty()) {
      first.all.erase(first.all.begin());
    } else {
      m_forgotten.pop_front();
    }
  }
}

void Differences::Hear(const Row& row) {
  const Standing standing = m_keeperOf(row).Look(row);
  const auto known = m_all.find(row);
  if (known != m_all.end() && standing.kind == Standing::Kind::EQUAL) {
    End(known);
  } else if (known != m_all.end() && standing.IsDifference()) {
    Answer(known, standing);
  } else if (standing.IsDifference()) {
    Begin(row, standing);
  }
}

void Differences::LookAtDue(All::iterator row) {
  Difference& difference = row->second;
  const unsigned short number = VlanOf(row->first);
  Vlan& vlan = m_vlans[number];
  const bool takesPlace = TakesPlace(row->first) && !difference.isAsked;
  if (takesPlace && vlan.asked >= REPEATS_A_VLAN) {
    m_due.erase(row);
    vlan.waiting.insert(row);
    return;
  }
  Keeper& keeper = m_keeperOf(row->first);
  const Standing standing = keeper.Look(row->first);
  if (standing.kind == Standing::Kind::EQUAL) {
    End(row);
    return;
  }
  const bool isToBeAsked = standing.IsDifference();
  if (isToBeAsked) {
    vlan.asked += takesPlace ? 1 : 0;
    SetStanding(difference, row->first, standing);
    SetAsked(difference, true);
    ++difference.repeats;
    ++m_repeats;
  } else {
    SetRetried(difference, false);  // it is under way
  }
  Delay(row);
  LetNextIn(number);
  if (isToBeAsked) {
    keeper.AskAgain(row->first);
  }
}

void Differences::Begin(const Row& row, const Standing& standing) {
  Difference difference;
  CountRow(row, 1);
  SetStanding(difference, row, standing);
  difference.since = m_port.Now();
  difference.next = difference.since + PauseAfter(0);
  m_due.insert(m_all.emplace(row, difference).first);
  m_report(Describe(row, standing, m_names));
}

void Differences::SetStanding(Difference& difference, const Row& row, const Standing& standing) {
  for (Counts* counts : {&m_counts[row.index()], &m_vlanCounts[VlanOf(row)][row.index()]}) {
    counts->refused += standing.status != 0 ? 1 : 0;
    counts->refused -= difference.standing.status != 0 ? 1 : 0;
  }
  difference.standing = standing;
}

// A VLAN is counted as long as rows of it differ.
void Differences::CountRow(const Row& row, int change) {
  const auto vlan = m_vlanCounts.try_emplace(VlanOf(row)).first;
  for (Counts* counts : {&m_counts[row.index()], &vlan->second[row.index()]}) {
    counts->all += static_cast<std::size_t>(change);
  }
  if (std::all_of(vlan->second.begin(), vlan->second.end(),
                  [](const Counts& counts) { return counts.all == 0; })) {
    m_vlanCounts.erase(vlan);
  }
}

Differences::KindCounts Differences::GetCounts(unsigned short vlan) const {
  const auto found = m_vlanCounts.find(vlan);
  return found == m_vlanCounts.end() ? KindCounts() : found->second;
}

void Differences::SetAsked(Difference& difference, bool isAsked) {
  m_asked += isAsked ? 1 : 0;
  m_asked -= difference.isAsked ? 1 : 0;
  difference.isAsked = isAsked;
}

void Differences::SetRetried(Difference& difference, bool isRetried, bool isHastened) {
  m_retriedRows += isRetried ? 1 : 0;
  m_retriedRows -= difference.isRetried ? 1 : 0;
  difference.isRetried = isRetried;
  difference.isHastened = isHastened;
}

bool Differences::IsHastened(const Row& row) const {
  const Difference* const known = Find(row);
  return known != nullptr && known->isHastened;
}

bool Differences::IsHastened(documents::RouteTarget prefix) const {
  prefix.gateway = {};
  for (auto row = m_all.lower_bound(RouteRow{prefix, 0});
       row != m_all.end() && IsOfPrefix(row->first, prefix); ++row) {
    if (row->second.isHastened) {
      return true;
    }
  }
  return false;
}

// The row differs still.
void Differences::Answer(All::iterator row, const Standing& standing) {
  SetStanding(row->second, row->first, standing);
  if (row->second.isAsked) {
    Delay(row);
    GiveUpPlace(row);
    SetRetried(row->second, false);
  }
}

// A row that is asked for, or under way, is in no VLAN's queue.
void Differences::Delay(All::iterator row) {
  m_due.erase(row);
  row->second.next = m_port.Now() + PauseAfter(row->second.repeats);
  m_due.insert(row);
}

void Differences::End(All::iterator row) {
  m_isReportingHastened = row->second.isHastened;
  m_report(Describe(row->first, m_names) + (row->second.standing.kind == Standing::Kind::UNWANTED
                                                ? " is gone from the stack now"
                                                : " is as wanted now"));
  m_isReportingHastened = false;
  if (m_due.erase(row) == 0) {
    m_vlans[VlanOf(row->first)].waiting.erase(row);
  }
  GiveUpPlace(row);
  SetRetried(row->second, false);
  SetStanding(row->second, row->first, {});
  CountRow(row->first, -1);
  m_all.erase(row);
}

void Differences::GiveUpPlace(All::iterator row) {
  const unsigned short number = VlanOf(row->first);
  if (row->second.isAsked && TakesPlace(row->first)) {
    --m_vlans[number].asked;
  }
  SetAsked(row->second, false);
  LetNextIn(number);
}

void Differences::LetNextIn(unsigned short number) {
  const auto found = m_vlans.find(number);
  if (found == m_vlans.end()) {
    return;
  }
  Vlan& vlan = found->second;
  if (vlan.asked < REPEATS_A_VLAN && !vlan.waiting.empty()) {
    m_due.insert(*vlan.waiting.begin());
    vlan.waiting.erase(vlan.waiting.begin());
  }
  if (vlan.asked == 0 && vlan.waiting.empty()) {
    m_vlans.erase(found);
  }
}

void Differences::Schedule() {
  const std::uint64_t now = m_port.Now();
  const std::uint64_t next = m_due.empty() ? 0 : (*m_due.begin())->second.next;
  if (HasHeard() || m_isRetrying || !m_forgotten.empty() || (!m_due.empty() && next <= now)) {
    m_turn.Post([this] { Turn(); });
  }
  if (m_due.empty()) {
    m_timer.Stop();
  } else if (next > now && (!m_timer.IsRunning() || m_expiry != next)) {
    m_expiry = next;
    m_timer.Start(static_cast<unsigned int>(next - now));
  }
}

void Differences::WhenDue(unsigned int, void*) {
  m_turn.Post([this] { Turn(); });
}

std::string Describe(const Row& row, const Standing& standing, const InterfaceNames& names) {
  const char* text = "";
  switch (standing.kind) {
    case Standing::Kind::EQUAL:
      text = " is as wanted";
      break;
    case Standing::Kind::UNDER_WAY:
      text = " is under way";
      break;
    case Standing::Kind::MISSING:
      text = " is missing in the stack";
      break;
    case Standing::Kind::OTHER:
      text = " has other values in the stack";
      break;
    case Standing::Kind::UNWANTED:
      text = " is still in the stack";
      break;
  }
  return Describe(row, names) + text +
         (standing.IsDifference() && standing.status != 0 ? ": " + DescribeStatus(standing.status)
                                                          : "");
}

}  // namespace rows
