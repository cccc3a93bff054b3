// The routes that the kernel should have, and what it made of them.
//
// The ledger is a plain state machine: it calls nobody and waits for nothing. Whoever drives it
// (RouteSink) sends the requests that it hands out, tells it the answers, and reads the kernel's
// tables for it now and then. It belongs to one thread.
//
// A route that changes is never taken away first: its successor is added with the other one of
// OUR_PRIORITIES, then the old one is deleted.
#ifndef DEVICE_KERNEL_ROUTE_LEDGER_H
#define DEVICE_KERNEL_ROUTE_LEDGER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "messages.h"
#include "next_hops.h"
#include "refusal.h"
#include "route.h"

namespace kernel {

/// What a comparison has found and set right.
struct Comparison {
  static constexpr std::size_t MOST_KEYS = 20;

  std::size_t missing = 0;   // wanted routes that had gone, or led elsewhere: asked for again
  std::size_t strays = 0;    // routes under our number that nobody wants: deleted
  std::size_t standing = 0;  // wanted routes that are there
  std::vector<RouteKey> missingKeys;  // the first ones of these
  std::vector<RouteKey> strayKeys;

  void NoteMissing(const RouteKey& key);
  void NoteStray(const RouteKey& key);
};

class RouteLedger {
 public:
  using Clock = std::function<std::uint64_t()>;
  /// `now` tells milliseconds and never goes back.
  explicit RouteLedger(Clock now) : m_now(std::move(now)) {}
  RouteLedger(const RouteLedger&) = delete;
  RouteLedger& operator=(const RouteLedger&) = delete;

  // What is wanted.

  /// The route is wanted from now on, with these next hops. The same again costs no request.
  void Want(const RouteKey& key, const NextHops& nextHops);
  /// It is not, and goes.
  void Forgo(const RouteKey& key);
  /// Nothing is wanted any more, but what stands stays for now: routes of an earlier life of the
  /// process, or of a stack that begins anew, whose successors are still to be wanted.
  void ForgoAllForNow();
  /// From now on what stands and is not wanted goes. ContinuePass does the work. At its beginning a
  /// ledger is one whose routes stay for now.
  void BeginSweep();
  /// Whether routes that nobody wants stay for now.
  bool IsLearning() const { return m_isLearning; }

  // Requests.

  /// Whether FillBatch would hand out a request now.
  bool HasRequests() const { return m_inFlight.empty() && (!m_queue.empty() || !m_strays.empty()); }
  bool HasUnanswered() const { return !m_inFlight.empty(); }
  /// Appends at most `most` requests to the batch. All answers have to be told before the next
  /// batch.
  void FillBatch(Batch& batch, std::size_t most);
  /// The kernel has answered. Since it answers in order, and tells of each refusal and of the last
  /// request, those before this one that it has not told of are done.
  void TakeAnswer(const Answer& answer);
  /// What became of the requests under way is not known. They are asked for again when a comparison
  /// has told; the caller begins one.
  void LoseAnswers();
  /// Asks again for what was refused and whose time has come; for all of it with `isAtOnce`.
  void AskAgain(bool isAtOnce);
  /// Asks again now for what was refused of the keys that are meant. Returns how many that
  /// are, with those that are under way again already.
  std::size_t Retry(const std::function<bool(const RouteKey&)>& isMeant);
  /// When AskAgain has something to do; nothing refused: nothing.
  std::optional<std::uint64_t> FindNextTry() const;

  // Comparison: BeginComparison, TakeFound for each route of ours that the kernel has, then
  // EndComparison and ContinuePass until that is over. What changes meanwhile is left out.

  void BeginComparison();
  void TakeFound(const FoundRoute& found);
  void EndComparison();
  /// Gives the comparison up; nothing is concluded from what was found.
  void DropComparison();
  /// Begins the reading of the tables anew; what has been found counts.
  void ReadAgain();
  /// Whether a request may have hit another route than was meant, so that only a comparison tells
  /// what stands. The answer is given once.
  bool TakeDoubt() { return std::exchange(m_isInDoubt, false); }
  /// Works off a part of the pass that EndComparison or BeginSweep has begun, as much as about
  /// `most` routes need. Returns whether more is left.
  bool ContinuePass(std::size_t most);
  bool IsInPass() const { return m_isInPass; }
  /// Of the comparison that has ended last.
  const Comparison& GetComparison() const { return m_comparison; }

  // Numbers, kept and not counted.

  std::size_t CountWanted() const { return m_wanted; }
  std::size_t CountWantedIp6() const { return m_wantedIp6; }  // of these
  std::size_t CountStanding() const { return m_standing; }    // wanted, and as wanted
  std::size_t CountOpen() const { return m_queue.size() + m_strays.size() + m_inFlight.size(); }
  std::size_t CountRefused() const { return m_refusals.size(); }
  std::size_t CountRefusedDeletions() const { return m_refusedDeletions; }  // of these

  struct Totals {
    std::uint64_t added = 0;
    std::uint64_t deleted = 0;
    std::uint64_t refused = 0;  // answers
    std::uint64_t missing = 0;  // found by comparisons
    std::uint64_t strays = 0;   // found by comparisons
  };
  const Totals& GetTotals() const { return m_totals; }

  /// Why a route is not in the kernel as it is wanted, or still is although it is not wanted; null
  /// if nothing was refused. Valid until the next call that changes the ledger.
  const Refusal* FindRefusal(const RouteKey& key) const;
  /// Calls back for at most `most` refusals, in no particular order.
  void TellRefusals(std::size_t most,
                    const std::function<void(const RouteKey&, const Refusal&)>& tell) const;

 private:
  using Slots = unsigned char;  // bit n stands for OUR_PRIORITIES[n]

  /// What is known of a key.
  struct Entry {
    NextHops nextHops;  // as wanted; of one that is not, as it stands if that is known
    /// Where those lead that stand, by slot, as far as is known.
    std::array<NextHops, 2> standingHops{};
    std::uint32_t wantedIn = 0;  // the generation in which it was wanted last, 0 for none
    std::uint16_t seenIn = 0;    // the comparison that `seen` and `isTouched` belong to
    Slots standing = 0;          // where one stands, as far as is known
    Slots right = 0;             // where it stands with `nextHops`; of one bit at most
    Slots seen = 0;
    bool isTouched : 1;   // since the comparison began
    bool isGoing : 1;     // it is not wanted, and is not to stay for now either
    bool isUnderWay : 1;  // in m_queue or m_inFlight
    bool isRefused : 1;   // it has an entry in m_refusals
    bool isWaiting : 1;   // and one in m_tries

    Entry()
        : isTouched(false), isGoing(false), isUnderWay(false), isRefused(false), isWaiting(false) {}
  };
  using Entries = std::unordered_map<RouteKey, Entry, RouteKeyHash>;
  using Node = Entries::value_type;
  /// A table of 100,000 entries takes ten milliseconds to become larger, one of many small ones a
  /// moment for each of them.
  static constexpr unsigned int SHARD_BITS = 6;
  static constexpr std::size_t SHARDS = std::size_t{1} << SHARD_BITS;

  /// A request that has been handed out.
  struct Request {
    std::uint32_t sequence;
    Node* node;     // null for a stray's
    bool isForAny;  // of a stray: it may have hit another route
    Slots slot;
    bool isDeletion;
    NextHops nextHops;
  };
  /// A route under our number with a priority that we never use.
  struct Stray {
    RouteKey key;
    std::uint32_t priority;
    NextHops nextHops;  // as far as is known
  };

  bool IsWanted(const Entry& entry) const { return entry.wantedIn == m_generation; }
  Slots SlotToDelete(const Entry& entry) const;
  bool NeedsRequest(const Entry& entry) const;
  Slots FindStanding(const Entry& entry) const;
  void SetRight(Entry& entry, Slots right);
  void BelongToComparison(Entry& entry) const;
  void Touch(Entry& entry) const;
  void Schedule(Node& node);
  void HandOut(Batch& batch, Node& node);
  void TakeSuccess(const Request& request);
  void TakeFailure(const Request& request, const Answer& answer);
  void Refuse(Node& node, const Answer& answer, bool isDeletion);
  void ForgetRefusal(Node& node);
  void FindWanted(Node& node, Slots slot, bool isRight);
  void FindUnwanted(Node& node, Slots slot, const FoundRoute& found);
  Entries& ShardOf(const RouteKey& key);
  void BeginPass();
  void VisitBucket();
  void Visit(Node& node);
  void LookForMissing(Node& node);

  const Clock m_now;
  std::array<Entries, SHARDS> m_shards;
  std::uint32_t m_generation = 1;
  bool m_isLearning = true;
  bool m_isInDoubt = false;
  std::deque<Node*> m_queue;
  std::deque<Stray> m_strays;
  std::deque<Request> m_inFlight;
  std::uint32_t m_sequence = 0;
  std::unordered_map<RouteKey, Refusal, RouteKeyHash> m_refusals;
  std::size_t m_refusedDeletions = 0;
  std::set<std::pair<std::uint64_t, Node*>> m_tries;  // of the refusals, by their time
  std::uint16_t m_comparing = 0;                      // the number of the comparison, 0 for none
  std::uint16_t m_lastComparing = 0;
  Comparison m_found;
  Comparison m_comparison;
  bool m_isInPass = false;
  bool m_isPassOfComparison = false;
  std::size_t m_shard = 0;  // where the pass goes on
  std::size_t m_bucket = 0;
  std::size_t m_buckets = 0;  // how many the shard had when the pass came to it
  std::size_t m_wanted = 0;
  std::size_t m_wantedIp6 = 0;
  std::size_t m_standing = 0;
  Totals m_totals;
};

}  // namespace kernel

#endif
