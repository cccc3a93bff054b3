#include "comparer.h"

#include <algorithm>
#include <utility>

#include "verify.h"

namespace rows {

Comparer::Comparer(uv_loop_s* loop, const StackPort& port, std::vector<Keeper*> keepers,
                   Differences& differences)
    : m_port(port),
      m_keepers(std::move(keepers)),
      m_differences(differences),
      m_turn(loop),
      m_timer("Comparer") {
  m_timer.SetCallback(
      new Tarsel::MemberCallback2<Comparer, unsigned int, void*>(this, &Comparer::WhenDue));
}

void Comparer::Compare() {
  m_isToCompare = true;
  Post();
}

void Comparer::StartSlowPass() {
  m_isSlow = true;
  if (m_job == Job::NONE) {
    BeginSlowPass();
  }
}

void Comparer::Stop() {
  m_isToCompare = false;
  m_wasVerifying = false;
  Begin(Job::NONE);
  if (m_verifications.empty()) {
    BeginSlowPass();
  } else {
    m_verifications.front().verdicts.clear();
    Post();
  }
}

void Comparer::Verify(std::size_t mostLines, std::function<void(std::vector<Verdict>)> done) {
  m_verifications.push_back({mostLines, std::move(done), {}});
  Post();
}

void Comparer::Post() {
  m_turn.Post([this] { Turn(); });
}

void Comparer::Turn() {
  m_findings = 0;
  if (!m_port.IsReady()) {
    Refuse();
    return;
  }
  if (m_job == Job::NONE) {
    Choose();
  }
  switch (m_job) {
    case Job::NONE:
      ContinueSlowPass();
      break;
    case Job::COMPARE:
      ContinueToCompare();
      break;
    case Job::VERIFY:
      ContinueToVerify();
      break;
  }
}

// Comparisons and verifications take turns, so that neither keeps the other waiting for ever.
void Comparer::Choose() {
  if (m_isToCompare && (m_wasVerifying || m_verifications.empty())) {
    m_isToCompare = false;
    Begin(Job::COMPARE);
  } else if (!m_verifications.empty()) {
    for (const Keeper* keeper : m_keepers) {
      m_verifications.front().verdicts.push_back(
          {keeper->GetName(), keeper->CountWanted(), 0, {}, m_port.KnowsTables()});
    }
    Begin(Job::VERIFY);
  }
}

void Comparer::Begin(Job job) {
  m_wasVerifying = m_job == Job::VERIFY;
  m_job = job;
  m_keeper = 0;
  m_hasBegun = false;
}

// Looks at about so many rows. Returns false at the end of the pass.
bool Comparer::Continue(std::size_t rows, const Keeper::Found& found) {
  while (m_keeper < m_keepers.size()) {
    if (rows == 0 || m_findings >= FINDINGS_A_TURN) {
      return true;
    }
    Keeper& keeper = *m_keepers[m_keeper];
    if (!std::exchange(m_hasBegun, true)) {
      keeper.BeginPass();
    }
    const std::size_t most = std::min(rows, ROWS_A_CALL);
    if (keeper.ContinuePass(most, found)) {
      rows -= most;
    } else {
      ++m_keeper;
      m_hasBegun = false;
    }
  }
  return false;
}

Keeper::Found Comparer::Noting() {
  return [this](const Row& row, const Standing& standing) {
    ++m_findings;
    m_differences.Note(row, standing);
  };
}

void Comparer::ContinueToCompare() {
  const bool isMore = Continue(ROWS_A_TURN, Noting());
  if (isMore) {
    Post();
    return;
  }
  Begin(Job::NONE);
  if (m_isToCompare || !m_verifications.empty()) {
    Post();
  } else {
    BeginSlowPass();
  }
}

void Comparer::ContinueToVerify() {
  if (Continue(ROWS_A_TURN,
               [this](const Row& row, const Standing& standing) { Judge(row, standing); })) {
    Post();
    return;
  }
  EndVerification();
}

// `done` may ask for the next one.
void Comparer::EndVerification() {
  Verification ended = std::move(m_verifications.front());
  m_verifications.pop_front();
  for (std::size_t i = 0; i < m_keepers.size(); ++i) {
    ended.verdicts[i].kept = m_keepers[i]->CountKept();
    for (const Row& row : m_keepers[i]->FirstKept(ended.mostLines)) {
      ended.verdicts[i].keptLines.push_back(Describe(row, m_differences.GetNames()));
    }
  }
  Begin(Job::NONE);
  if (m_isToCompare || !m_verifications.empty()) {
    Post();
  } else {
    BeginSlowPass();
  }
  ended.done(std::move(ended.verdicts));
}

void Comparer::Refuse() {
  m_isToCompare = false;
  Begin(Job::NONE);
  BeginSlowPass();
  for (Verification& refused : std::exchange(m_verifications, {})) {
    refused.done({{"stack", 0, 1, {"the stack is not ready"}}});
  }
}

void Comparer::Judge(const Row& row, const Standing& standing) {
  Verdict& verdict = m_verifications.front().verdicts[m_keeper];
  ++m_findings;
  ++verdict.fails;
  if (verdict.lines.size() < m_verifications.front().mostLines) {
    verdict.lines.push_back(DescribeFail(row, standing, m_differences.Find(row), m_port.Now(),
                                         m_differences.GetNames()));
  }
}

// A pass has so many steps that each is worth waking up for, and at most one a second. Their rows
// are the wanted ones. How many the stack has is not known before: what the steps have not come to
// follows the last one in turns of its own.
void Comparer::BeginSlowPass() {
  m_keeper = 0;
  m_hasBegun = false;
  m_isStepDue = false;
  if (!m_isSlow) {
    return;
  }
  constexpr std::size_t MOST_STEPS = SLOW_PASS_MILLISECONDS / 1000;
  std::size_t rows = 0;
  for (const Keeper* keeper : m_keepers) {
    rows += keeper->CountWanted();
  }
  const std::size_t steps = std::clamp<std::size_t>(rows / ROWS_A_CALL, 1, MOST_STEPS);
  m_rowsAStep = rows / steps + 1;
  m_stepsLeft = steps;
  m_stepMilliseconds = static_cast<unsigned int>(SLOW_PASS_MILLISECONDS / steps);
  m_timer.Start(m_stepMilliseconds);
}

void Comparer::ContinueSlowPass() {
  if (!std::exchange(m_isStepDue, false)) {
    return;
  }
  m_stepsLeft -= m_stepsLeft != 0 ? 1 : 0;
  const bool isAtEnd = m_stepsLeft == 0;
  const bool isMore =
      Continue(isAtEnd ? std::max(m_rowsAStep, ROWS_A_TURN) : m_rowsAStep, Noting());
  if (!isMore) {
    BeginSlowPass();
  } else if (isAtEnd) {
    m_isStepDue = true;
    Post();
  } else {
    m_timer.Start(m_stepMilliseconds);
  }
}

void Comparer::WhenDue(unsigned int, void*) {
  m_isStepDue = true;
  Post();
}

}  // namespace rows
