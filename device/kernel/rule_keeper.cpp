#include "rule_keeper.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "device/program/counted.h"

namespace kernel {

using program::Counted;

namespace {

constexpr std::size_t RULES_A_BATCH = 200;
// The kernel's answer to a request must not be taken for that to a dump.
constexpr std::uint32_t FIRST_DUMP = 0x80000000;

}  // namespace

RuleKeeper::RuleKeeper(uv_loop_s* loop, RuleLedger::Clock now, const OpenChannel& open, Log log)
    : m_now(std::move(now)),
      m_log(std::move(log)),
      m_ledger(m_now),
      m_channel(open(Subscription::NOTHING)),
      m_gate(std::make_shared<SendGate>()),
      m_answers(loop, *m_channel, [this] { Hear(); }),
      m_sending(loop),
      m_work(loop),
      m_nextTry(loop),
      m_pause(loop),
      m_dump(FIRST_DUMP) {
  WorkSoon();
}

RuleKeeper::~RuleKeeper() = default;

void RuleKeeper::Want(Rules rules) {
  m_ledger.Want(std::move(rules));
  WorkSoon();
}

void RuleKeeper::Sweep() {
  m_ledger.BeginSweep();
  WorkSoon();
}

std::size_t RuleKeeper::Retry() {
  const std::size_t count = m_ledger.CountRefused();
  m_ledger.AskAgain(true);
  WorkSoon();
  return count;
}

void RuleKeeper::Shut() {
  m_sending.Drop();
  m_gate->Shut();
}

void RuleKeeper::Compare(Asker done) {
  m_isToCompare = true;
  if (done) {
    m_nextAskers.push_back(std::move(done));
  }
  WorkSoon();
}

bool RuleKeeper::IsSettled() const {
  return !m_isToCompare && !m_hasDeleted && m_readingOf == Reading::NOTHING &&
         !m_sending.IsUnderWay() && !m_ledger.HasUnanswered() && !m_ledger.HasRequests();
}

void RuleKeeper::WorkSoon() {
  m_work.Post([this] { Work(); });
}

// One thing at a time; the end of each comes here again.
void RuleKeeper::Work() {
  if (m_isPausing || m_sending.IsUnderWay() || m_ledger.HasUnanswered() ||
      m_readingOf != Reading::NOTHING) {
    return;
  }
  const bool isAskedFor = std::exchange(m_isToCompare, false);
  const bool isAfterDeletion = !m_ledger.HasRequests() && std::exchange(m_hasDeleted, false);
  if (isAskedFor || isAfterDeletion) {
    m_askers.swap(m_nextAskers);
    m_interruptions = 0;
    // A deletion that is refused must not bring about the next one at once.
    m_ledger.AskAgain(isAskedFor);
    BeginReading(Reading::IP4);
    return;
  }
  m_ledger.AskAgain(false);
  if (m_ledger.HasRequests()) {
    Send();
  }
  TellFirstRefusal();
  WaitForNextTry();
}

// ---- requests

void RuleKeeper::Send() {
  m_batch.Clear();
  m_hasDeleted = m_ledger.FillBatch(m_batch, RULES_A_BATCH) || m_hasDeleted;
  const auto bytes = std::make_shared<const std::vector<char>>(m_batch.Finish());
  const auto error = std::make_shared<int>(0);
  m_sending.Start(
      [channel = m_channel, gate = m_gate, bytes, error] { *error = gate->Send(*channel, *bytes); },
      [this, error](const std::optional<std::string>& problem) {
        Sent(problem ? ENOMEM : *error);
      });
}

void RuleKeeper::Sent(int error) {
  if (error == 0) {
    m_hasToldFailure = false;
    Hear();
    WorkSoon();
    return;
  }
  if (!std::exchange(m_hasToldFailure, true)) {
    m_log(std::string("The kernel takes no requests for rules: ") + std::strerror(error));
  }
  m_ledger.LoseAnswers();
  m_isToCompare = true;
  PauseAfterFailure();
}

void RuleKeeper::PauseAfterFailure() {
  m_isPausing = true;
  m_pause.Start(PAUSE_AFTER_FAILURE, [this] {
    m_isPausing = false;
    Work();
  });
}

void RuleKeeper::WaitForNextTry() {
  if (const auto next = m_ledger.FindNextTry()) {
    const std::uint64_t now = m_now();
    m_nextTry.Start(*next > now ? *next - now : 0, [this] { Work(); });
  }
}

// The first one of a time without any; `verify` lists them.
void RuleKeeper::TellFirstRefusal() {
  const bool hasRefusals = m_ledger.CountRefused() > 0;
  if (hasRefusals && !m_hasToldRefusal) {
    const auto& [rule, refusal] = *m_ledger.GetRefusals().begin();
    m_log("The kernel refuses " +
          std::string(refusal.isOfDeletion ? "to delete the rule " : "the rule ") +
          DescribeRule(rule) + ": " + DescribeRefusal(refusal) +
          "; it is asked again, and so are others that it may refuse");
  }
  m_hasToldRefusal = hasRefusals;
}

// ---- what comes

void RuleKeeper::Hear() {
  Received received;
  for (;;) {
    switch (m_channel->Receive(received)) {
      case Channel::Outcome::MESSAGES:
        Take(received);
        break;
      case Channel::Outcome::OVERRUN:
        Overrun();
        break;
      case Channel::Outcome::NOTHING:
        return;
      case Channel::Outcome::FAILED:
        if (m_readingOf != Reading::NOTHING) {
          FailComparison();
        }
        return;
    }
  }
}

void RuleKeeper::Take(const Received& received) {
  m_isInterrupted = m_isInterrupted || received.isInterrupted;
  for (const Message& message : received.messages) {
    if (const auto* const rule = std::get_if<FoundRule>(&message)) {
      m_ledger.TakeFound(*rule);
    } else if (const auto* const end = std::get_if<DumpEnd>(&message)) {
      EndReading(*end);
    } else if (const auto* const answer = std::get_if<Answer>(&message)) {
      EndReading({answer->sequence, answer->error});
      m_ledger.TakeAnswer(*answer);
    }
  }
  WorkSoon();
}

// Nothing is sent before a comparison has told what became of the requests.
void RuleKeeper::Overrun() {
  ++m_overruns;
  m_isInterrupted = true;
  m_isToCompare = true;
  m_ledger.LoseAnswers();
  WorkSoon();
}

// ---- comparison

void RuleKeeper::BeginReading(Reading family) {
  m_readingOf = family;
  m_isInterrupted = false;
  if (family == Reading::IP4) {
    m_ledger.BeginComparison();
  }
  if (m_channel->Send(MakeRuleDump(family == Reading::IP6, ++m_dump)) != 0) {
    FailComparison();
  }
}

void RuleKeeper::EndReading(const DumpEnd& end) {
  if (m_readingOf == Reading::NOTHING || end.sequence != m_dump) {
    return;
  }
  const bool isWithoutFamily =
      m_readingOf == Reading::IP6 && (end.error == EAFNOSUPPORT || end.error == EOPNOTSUPP);
  if (end.error != 0 && !isWithoutFamily) {
    FailComparison();
  } else if (m_isInterrupted) {
    if (++m_interruptions > MOST_INTERRUPTIONS) {
      FailComparison();
    } else {
      BeginReading(Reading::IP4);
    }
  } else if (m_readingOf == Reading::IP4) {
    BeginReading(Reading::IP6);
  } else {
    m_readingOf = Reading::NOTHING;
    m_ledger.SetHasIp6(!isWithoutFamily);
    m_ledger.EndComparison();
    EndComparison(true);
  }
}

void RuleKeeper::FailComparison() {
  if (!std::exchange(m_hasToldUnread, true)) {
    m_log("The kernel's rules cannot be read; it is tried again each second");
  }
  m_readingOf = Reading::NOTHING;
  m_isToCompare = true;
  PauseAfterFailure();
  EndComparison(false);
}

void RuleKeeper::EndComparison(bool isComplete) {
  if (isComplete) {
    m_hasToldUnread = false;
    TellComparison(m_ledger.GetComparison());
  }
  const Result result{isComplete, isComplete ? m_ledger.GetComparison() : RuleComparison{}};
  for (const Asker& asker : std::exchange(m_askers, {})) {
    asker(result);
  }
  WorkSoon();
}

void RuleKeeper::TellComparison(const RuleComparison& comparison) {
  if (!comparison.missing.empty()) {
    m_log("The kernel had lost " + Counted(comparison.missing.size(), "rule, which is put back",
                                           "rules, which are put back"));
  }
  if (!comparison.strays.empty()) {
    m_log("The kernel had " + Counted(comparison.strays.size(),
                                      "stray rule of this device, which is removed",
                                      "stray rules of this device, which are removed"));
  }
}

}  // namespace kernel
