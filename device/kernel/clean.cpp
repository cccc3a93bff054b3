#include "clean.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "route_ledger.h"
#include "rule_ledger.h"

namespace kernel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t REQUESTS_A_BATCH = 500;
constexpr int LONGEST_WAIT = 10000;  // milliseconds, for the next word of the kernel
constexpr int MOST_READINGS = 20;

bool IsOurs(const FoundRoute& route) { return route.protocol == OUR_PROTOCOL; }
bool IsOurs(const FoundRule&) { return true; }

struct OfRoutes {
  using Ledger = RouteLedger;
  using Requests = Batch;
  using Found = FoundRoute;
  static std::vector<char> Ask(bool isIp6, std::uint32_t number) { return MakeDump(isIp6, number); }
};

struct OfRules {
  using Ledger = RuleLedger;
  using Requests = RuleBatch;
  using Found = FoundRule;
  static std::vector<char> Ask(bool isIp6, std::uint32_t number) {
    return MakeRuleDump(isIp6, number);
  }
};

/// Reads and writes as a RouteSink or a RuleKeeper does, but waits.
template <typename Kind>
class Cleaner {
 public:
  Cleaner(Channel& channel, std::chrono::milliseconds most)
      : m_channel(channel), m_end(Clock::now() + most), m_ledger([] { return std::uint64_t{0}; }) {
    m_ledger.BeginSweep();
  }

  Cleaned Clean() {
    Cleaned cleaned;
    while (Compare() && m_left != 0) {
      const std::uint64_t before = m_ledger.GetTotals().deleted;
      SendAll();
      if (m_ledger.GetTotals().deleted == before && !m_isLost) {
        break;  // the kernel gives up none of those that are left
      }
    }
    cleaned.removed = m_ledger.GetTotals().deleted;
    cleaned.left = m_left;
    cleaned.reason = m_reason;
    cleaned.problem = m_problem;
    return cleaned;
  }

 private:
  bool Compare() {
    for (int i = 0; i < MOST_READINGS && m_problem.empty(); ++i) {
      m_isInterrupted = false;
      m_isLost = false;
      m_left = 0;
      m_ledger.BeginComparison();
      if (Dump(false) && Dump(true) && !m_isInterrupted) {
        m_ledger.EndComparison();
        while (m_ledger.ContinuePass(REQUESTS_A_BATCH)) {
        }
        return true;
      }
    }
    m_problem = m_problem.empty() ? "the kernel's tables change all the time" : m_problem;
    return false;
  }

  bool Dump(bool isIp6) {
    const std::uint32_t number = ++m_dump;
    if (const int error = m_channel.Send(Kind::Ask(isIp6, number))) {
      m_problem = std::strerror(error);
      return false;
    }
    for (bool isOver = false; !isOver;) {
      const std::optional<Received> received = Wait();
      if (!received) {
        return false;
      }
      m_isInterrupted = m_isInterrupted || received->isInterrupted;
      for (const Message& message : received->messages) {
        if (const auto* const found = std::get_if<typename Kind::Found>(&message)) {
          m_left += IsOurs(*found) ? 1 : 0;
          m_ledger.TakeFound(*found);
        } else if (const auto* const end = std::get_if<DumpEnd>(&message)) {
          isOver = isOver || TakeEnd(*end);
        } else if (const auto* const answer = std::get_if<Answer>(&message)) {
          isOver = isOver || TakeEnd({answer->sequence, answer->error});
        }
      }
    }
    return m_problem.empty();
  }

  // A machine without IPv6 has no routes of it.
  bool TakeEnd(const DumpEnd& end) {
    const bool isOver = end.sequence == m_dump;
    if (isOver && end.error != 0 && end.error != EAFNOSUPPORT && end.error != EOPNOTSUPP) {
      m_problem = std::strerror(end.error);
    }
    return isOver;
  }

  void SendAll() {
    while (m_ledger.HasRequests() && m_problem.empty()) {
      typename Kind::Requests batch;
      m_ledger.FillBatch(batch, REQUESTS_A_BATCH);
      if (batch.IsEmpty()) {
        continue;
      }
      if (const int error = m_channel.Send(batch.Finish())) {
        m_problem = std::strerror(error);
        return;
      }
      while (m_ledger.HasUnanswered()) {
        const std::optional<Received> received = Wait();
        if (!received) {
          return;
        }
        for (const Message& message : received->messages) {
          if (const auto* const answer = std::get_if<Answer>(&message)) {
            m_reason = answer->error != 0
                           ? DescribeRefusal({answer->error, answer->reason, 1, 0, true})
                           : m_reason;
            m_ledger.TakeAnswer(*answer);
          }
        }
      }
    }
  }

  // Of what was lost the next comparison tells.
  std::optional<Received> Wait() {
    pollfd descriptor{m_channel.GetDescriptor(), POLLIN, 0};
    Received received;
    for (;;) {
      const int longest = FindLongestWait();
      if (longest == 0) {
        m_problem = "it takes too long";
        return std::nullopt;
      }
      switch (m_channel.Receive(received)) {
        case Channel::Outcome::MESSAGES:
          return received;
        case Channel::Outcome::OVERRUN:
          m_ledger.LoseAnswers();
          m_isLost = true;
          received = Received();
          received.isInterrupted = true;
          return received;
        case Channel::Outcome::FAILED:
          m_problem = "the socket to the kernel's routing has failed";
          return std::nullopt;
        case Channel::Outcome::NOTHING:
          break;
      }
      if (poll(&descriptor, 1, longest) == 0 && longest == LONGEST_WAIT) {
        m_problem = "the kernel does not answer";
        return std::nullopt;
      }
    }
  }

  // For the next word of the kernel, in milliseconds.
  int FindLongestWait() const {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(m_end - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, LONGEST_WAIT));
  }

  Channel& m_channel;
  const Clock::time_point m_end;
  typename Kind::Ledger m_ledger;
  std::uint32_t m_dump = 0;
  bool m_isInterrupted = false;
  bool m_isLost = false;   // some answer
  std::size_t m_left = 0;  // that the last comparison has found
  std::string m_reason;
  std::string m_problem;
};

}  // namespace

Cleaned RemoveOurRoutes(Channel& channel, std::chrono::milliseconds most) {
  return Cleaner<OfRoutes>(channel, most).Clean();
}

Cleaned RemoveOurRules(Channel& channel, std::chrono::milliseconds most) {
  return Cleaner<OfRules>(channel, most).Clean();
}

}  // namespace kernel
