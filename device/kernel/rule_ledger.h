// The rules that the kernel should have, and what it made of them.
//
// A plain state machine as RouteLedger is, but there are tens of rules, or thousands: each step
// looks at all of them. Whoever drives it (RuleKeeper) either has a batch under way or compares.
#ifndef DEVICE_KERNEL_RULE_LEDGER_H
#define DEVICE_KERNEL_RULE_LEDGER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "messages.h"
#include "refusal.h"
#include "rule.h"

namespace kernel {

using Rules = std::set<Rule>;

/// What a comparison of rules has found and set right.
struct RuleComparison {
  std::vector<Rule> missing;  // wanted rules that had gone: asked for again
  std::vector<Rule> strays;   // rules under our number that nobody wants: deleted
};

/// Belongs to one thread.
class RuleLedger {
 public:
  using Clock = std::function<std::uint64_t()>;
  /// `now` tells milliseconds and never goes back.
  explicit RuleLedger(Clock now) : m_now(std::move(now)) {}
  RuleLedger(const RuleLedger&) = delete;
  RuleLedger& operator=(const RuleLedger&) = delete;

  // What is wanted.

  /// These are wanted from now on, and no others.
  void Want(Rules rules);
  /// From now on what stands and is not wanted goes. Until then rules of an earlier life of the
  /// process stay, but for those of an interface for which others are wanted.
  void BeginSweep();
  bool IsLearning() const { return m_isLearning; }
  /// A machine without IPv6 can have no rules of it, and then none are wanted.
  void SetHasIp6(bool hasIp6);

  // Requests.

  bool HasRequests() const { return m_inFlight.empty() && !m_plan.empty(); }
  bool HasUnanswered() const { return !m_inFlight.empty(); }
  /// Appends at most `most` requests to the batch, in such an order that no packet is looked up in a
  /// table that is not its VLAN's, and returns whether a deletion is among them: then a comparison
  /// has to tell what the kernel has taken away. All answers have to be told before the next batch.
  bool FillBatch(RuleBatch& batch, std::size_t most);
  /// The kernel has answered. Since it answers in order, and tells of each refusal and of the last
  /// request, those before this one that it has not told of are done.
  void TakeAnswer(const Answer& answer);
  /// What became of the requests under way is not known; the caller compares before it sends more.
  void LoseAnswers();
  /// Asks again for what was refused and whose time has come; for all of it with `isAtOnce`.
  void AskAgain(bool isAtOnce);
  /// When AskAgain has something to do; nothing refused: nothing.
  std::optional<std::uint64_t> FindNextTry() const;

  // Comparison: BeginComparison, TakeFound for each rule, EndComparison. None of it while something
  // is unanswered.

  void BeginComparison() { m_found.clear(); }
  void TakeFound(const FoundRule& found) { m_found.insert(found.rule); }
  void EndComparison();
  /// Of the comparison that has ended last.
  const RuleComparison& GetComparison() const { return m_comparison; }
  /// Works off a part of a comparison or a sweep; nothing is left to do here.
  static bool ContinuePass(std::size_t) { return false; }

  // Numbers. Counting takes as long as there are rules.

  std::size_t CountWanted() const;
  std::size_t CountStanding() const;  // wanted, and there
  std::size_t CountRefused() const { return m_refusals.size(); }

  struct Totals {
    std::uint64_t added = 0;
    std::uint64_t deleted = 0;
    std::uint64_t missing = 0;  // found by comparisons
    std::uint64_t strays = 0;   // found by comparisons
  };
  const Totals& GetTotals() const { return m_totals; }

  using Refusals = std::map<Rule, Refusal>;
  const Refusals& GetRefusals() const { return m_refusals; }

 private:
  struct Request {
    Rule rule;
    bool isDeletion = false;
    std::uint32_t sequence = 0;
  };

  bool IsWanted(const Rule& rule) const;
  bool Stands(const Rule& rule) const { return m_standing.count(rule) != 0; }
  bool Goes(const Rule& rule) const;
  bool Waits(const Rule& rule) const;
  void Plan();
  void PlanMissing(bool areEnds);
  void PlanGoing(bool areEnds);
  void Take(const Request& request, const Answer& answer);

  const Clock m_now;
  Rules m_wanted;
  Rules m_standing;                                     // under our number, as far as is known
  Rules m_found;                                        // by the present comparison
  std::set<std::pair<bool, std::string>> m_interfaces;  // of the wanted ones, with their family
  bool m_isLearning = true;
  bool m_hasIp6 = true;
  std::deque<Request> m_plan;  // what is to be asked for
  std::deque<Request> m_inFlight;
  std::uint32_t m_sequence = 0;
  Refusals m_refusals;
  RuleComparison m_comparison;
  Totals m_totals;
};

}  // namespace kernel

#endif
