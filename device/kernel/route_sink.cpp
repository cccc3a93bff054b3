#include "route_sink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "device/program/counted.h"

namespace kernel {

using program::Counted;

namespace {

// What one turn of the loop does, each about three milliseconds at most.
constexpr std::size_t LEAST_REQUESTS_A_BATCH = 10;
constexpr std::size_t VISITS_A_TURN = 4000;

constexpr std::uint64_t PAUSE_BETWEEN_COMPARISONS = 10 * 60 * 1000;  // milliseconds
constexpr std::uint64_t PAUSE_BEFORE_COMPARISON = 200;

}  // namespace

RouteSink::RouteSink(uv_loop_s* loop, RouteLedger::Clock now, const OpenChannel& open, Log log)
    : m_now(std::move(now)),
      m_log(std::move(log)),
      m_ledger(m_now),
      m_writing(open(Subscription::NOTHING)),
      m_reading(open(Subscription::NOTHING)),
      m_hearing(open(Subscription::LINKS_AND_ADDRESSES)),
      m_gate(std::make_shared<SendGate>()),
      m_answers(loop, *m_writing,
                [this] {
                  ReadAnswers();
                  Work();
                }),
      m_tables(loop, *m_reading, [this] { ReadTables(); }),
      m_changes(loop, *m_hearing, [this] { HearChanges(); }),
      m_sending(loop),
      m_work(loop),
      m_nextTry(loop),
      m_soon(loop),
      m_pause(loop) {
  BeginComparison();
}

RouteSink::~RouteSink() = default;

void RouteSink::Want(const RouteKey& key, const NextHops& nextHops) {
  m_ledger.Want(key, nextHops);
  m_work.Post([this] { Work(); });
}

void RouteSink::Forgo(const RouteKey& key) {
  m_ledger.Forgo(key);
  m_work.Post([this] { Work(); });
}

void RouteSink::ForgoAllForNow() { m_ledger.ForgoAllForNow(); }

void RouteSink::Sweep() {
  m_ledger.BeginSweep();
  m_work.Post([this] { Work(); });
}

void RouteSink::Shut() {
  m_sending.Drop();
  m_gate->Shut();
}

std::size_t RouteSink::Retry(const std::function<bool(const RouteKey&)>& isMeant) {
  const std::size_t count = m_ledger.Retry(isMeant);
  m_work.Post([this] { Work(); });
  return count;
}

bool RouteSink::IsSettled() const {
  return m_ledger.CountOpen() == 0 && !m_isComparing && !m_ledger.IsInPass() && m_hasLearnt;
}

// A turn's part of everything that is to be done.
void RouteSink::Work() {
  m_ledger.AskAgain(false);
  if (MaySend()) {
    Send();
  }
  if (m_ledger.IsInPass() && !m_ledger.ContinuePass(VISITS_A_TURN) && m_isComparing &&
      m_readingOf == Reading::NOTHING) {
    EndComparison(true);
  }
  if (m_ledger.TakeDoubt()) {
    CompareSoon();
  }
  TellFirstRefusal();
  WaitForNextTry();
  if (m_ledger.IsInPass() || MaySend()) {
    m_work.Post([this] { Work(); });
  }
}

void RouteSink::Send() {
  m_batch.Clear();
  m_ledger.FillBatch(m_batch, m_requestsABatch);
  if (m_batch.IsEmpty()) {
    return;
  }
  const auto bytes = std::make_shared<const std::vector<char>>(m_batch.Finish());
  const auto error = std::make_shared<int>(0);
  m_sending.Start(
      [channel = m_writing, gate = m_gate, bytes, error] { *error = gate->Send(*channel, *bytes); },
      [this, error](const std::optional<std::string>& problem) {
        Sent(problem ? ENOMEM : *error);
      });
}

void RouteSink::Sent(int error) {
  if (error == 0) {
    m_hasToldFailure = false;
    ReadAnswers();
    Work();
    return;
  }
  if (!std::exchange(m_hasToldFailure, true)) {
    m_log(std::string("The kernel takes no requests for routes: ") + std::strerror(error));
  }
  m_ledger.LoseAnswers();
  m_hasLearnt = false;
  m_isToRelearn = true;
  m_isSoon = true;
  m_soon.Start(PAUSE_AFTER_FAILURE, [this] {
    m_isSoon = false;
    CompareSoon();
  });
}

// Nothing is sent before a comparison has told what became of the requests: they would be refused
// as done already.
void RouteSink::LoseAnswers() {
  m_ledger.LoseAnswers();
  m_requestsABatch = std::max(m_requestsABatch / 2, LEAST_REQUESTS_A_BATCH);
  m_hasLearnt = false;
  m_isToRelearn = true;
  CompareSoon();
}

void RouteSink::ReadAnswers() {
  Received received;
  for (;;) {
    switch (m_writing->Receive(received)) {
      case Channel::Outcome::MESSAGES:
        for (const Message& message : received.messages) {
          if (const auto* const answer = std::get_if<Answer>(&message)) {
            m_ledger.TakeAnswer(*answer);
          }
        }
        break;
      case Channel::Outcome::OVERRUN:
        Overrun();
        LoseAnswers();
        break;
      case Channel::Outcome::NOTHING:
      case Channel::Outcome::FAILED:
        return;
    }
  }
}

void RouteSink::Compare(std::function<void(const Result&)> done) {
  m_nextAskers.push_back(std::move(done));
  if (!m_isComparing) {
    BeginComparison();
  }
}

// Links seldom change alone. One that changes all the time does not put it off.
void RouteSink::CompareSoon() {
  if (std::exchange(m_isSoon, true)) {
    return;
  }
  m_soon.Start(PAUSE_BEFORE_COMPARISON, [this] {
    m_isSoon = false;
    m_ledger.AskAgain(true);  // what a link's state may have stood against
    m_work.Post([this] { Work(); });
    if (!m_isComparing && !m_sending.IsUnderWay()) {
      BeginComparison();
    } else {
      CompareSoon();  // this one may have passed by what has changed
    }
  });
}

void RouteSink::BeginComparison() {
  m_isComparing = true;
  m_isToRelearn = false;
  m_askers.swap(m_nextAskers);
  m_interruptions = 0;
  m_ledger.BeginComparison();
  BeginReading(Reading::IP4);
}

void RouteSink::BeginReading(Reading family) {
  m_readingOf = family;
  m_isInterrupted = false;
  if (m_reading->Send(MakeDump(family == Reading::IP6, ++m_dump)) != 0) {
    FailComparison();
  }
}

void RouteSink::ReadTables() {
  Received received;
  for (std::size_t i = 0; i < PACKETS_A_TURN; ++i) {
    switch (m_reading->Receive(received)) {
      case Channel::Outcome::MESSAGES:
        TakeTables(received);
        break;
      case Channel::Outcome::OVERRUN:
        Overrun();
        m_isInterrupted = true;
        break;
      case Channel::Outcome::NOTHING:
        return;
      case Channel::Outcome::FAILED:
        FailComparison();
        return;
    }
  }
}

// What is left of a dump that was given up has another sequence number, but its routes have not:
// they are as good as those of the next one.
void RouteSink::TakeTables(const Received& received) {
  m_isInterrupted = m_isInterrupted || received.isInterrupted;
  for (const Message& message : received.messages) {
    if (const auto* const route = std::get_if<FoundRoute>(&message)) {
      m_ledger.TakeFound(*route);
    } else if (const auto* const end = std::get_if<DumpEnd>(&message)) {
      EndReading(*end);
    } else if (const auto* const answer = std::get_if<Answer>(&message)) {
      EndReading({answer->sequence, answer->error});
    }
  }
}

// A machine without IPv6 has no routes of it.
void RouteSink::EndReading(const DumpEnd& end) {
  if (m_readingOf == Reading::NOTHING || end.sequence != m_dump) {
    return;
  }
  const bool isWithoutFamily = end.error == EAFNOSUPPORT || end.error == EOPNOTSUPP;
  if (end.error != 0 && !isWithoutFamily) {
    FailComparison();
  } else if (m_isInterrupted) {
    if (++m_interruptions > MOST_INTERRUPTIONS) {
      FailComparison();
    } else {
      m_ledger.ReadAgain();
      BeginReading(Reading::IP4);
    }
  } else if (m_readingOf == Reading::IP4) {
    BeginReading(Reading::IP6);
  } else {
    m_readingOf = Reading::NOTHING;
    m_ledger.EndComparison();
    m_work.Post([this] { Work(); });
  }
}

void RouteSink::FailComparison() {
  if (!std::exchange(m_hasToldUnread, true)) {
    m_log("The kernel's tables cannot be read; it is tried again each second");
  }
  m_readingOf = Reading::NOTHING;
  m_ledger.DropComparison();
  EndComparison(false);
}

void RouteSink::EndComparison(bool isComplete) {
  m_isComparing = false;
  if (isComplete) {
    ++m_comparisons;
    TellComparison(m_ledger.GetComparison());
    m_hasLearnt = !m_isToRelearn;
    m_hasToldUnread = false;
  }
  m_pause.Start(isComplete ? PAUSE_BETWEEN_COMPARISONS : PAUSE_AFTER_FAILURE, [this] {
    if (!m_isComparing) {
      BeginComparison();
    }
  });
  if (m_compared) {
    m_compared();
  }
  const auto askers = std::move(m_askers);
  m_askers.clear();
  for (const auto& asker : askers) {
    asker({isComplete, isComplete ? m_ledger.GetComparison() : Comparison{}});
  }
  if (!m_nextAskers.empty() && !m_isComparing) {
    BeginComparison();
  }
}

void RouteSink::TellComparison(const Comparison& comparison) {
  if (comparison.missing > 0) {
    m_log("The kernel had lost " +
          Counted(comparison.missing, "route, which is put back", "routes, which are put back"));
  }
  if (comparison.strays > 0) {
    m_log("The kernel had " + Counted(comparison.strays, "stray of this device, which is removed",
                                      "strays of this device, which are removed"));
  }
}

void RouteSink::HearChanges() {
  Received received;
  bool hasChanged = false;
  for (std::size_t i = 0; i < PACKETS_A_TURN; ++i) {
    const Channel::Outcome outcome = m_hearing->Receive(received);
    if (outcome == Channel::Outcome::OVERRUN) {
      Overrun();
      m_isLosing = true;
    }
    if (outcome == Channel::Outcome::NOTHING || outcome == Channel::Outcome::FAILED) {
      hasChanged = std::exchange(m_isLosing, false) || hasChanged;
      break;
    }
    hasChanged = true;
  }
  if (hasChanged) {
    CompareSoon();
  }
}

void RouteSink::Overrun() {
  ++m_overruns;
  CompareSoon();
}

void RouteSink::WaitForNextTry() {
  if (const auto next = m_ledger.FindNextTry()) {
    const std::uint64_t now = m_now();
    m_nextTry.Start(*next > now ? *next - now : 0, [this] { Work(); });
  }
}

// The first one of a time without any; `verify` lists them.
void RouteSink::TellFirstRefusal() {
  const bool hasRefusals = m_ledger.CountRefused() > 0;
  if (hasRefusals && !m_hasToldRefusal) {
    m_ledger.TellRefusals(1, [this](const RouteKey& key, const Refusal& refusal) {
      m_log("The kernel refuses " +
            std::string(refusal.isOfDeletion ? "to delete the route " : "the route ") +
            DescribeKey(key) + ": " + DescribeRefusal(refusal) +
            "; it is asked again, and so are others that it may refuse");
    });
  }
  m_hasToldRefusal = hasRefusals;
}

}  // namespace kernel
