// Writes routes into the kernel's tables, and keeps them there.
#ifndef DEVICE_KERNEL_ROUTE_SINK_H
#define DEVICE_KERNEL_ROUTE_SINK_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "channel_poll.h"
#include "device/loop/loop_handles.h"
#include "device/loop/work.h"
#include "netlink_socket.h"
#include "route_ledger.h"
#include "send_gate.h"

namespace kernel {

/// Holds what is wanted, sends it to the kernel in batches, one after the other, and compares it
/// with what the kernel has: at the start, when a link or an address of the machine changes, when
/// answers were lost, and every ten minutes. The kernel takes routes away without a word when
/// a link goes, and anybody may delete one; a comparison puts them back. Routes without our
/// number, and all others that it did not ask for, are never touched.
///
/// A batch is sent in the thread pool: the kernel works it off inside the call, and takes up to a
/// tenth of a second for one route when it makes its own tables larger.
///
/// Belongs to the loop's thread; calls back from the loop only. Its destructor leaves the routes
/// where they are.
class RouteSink {
 public:
  using Log = std::function<void(const std::string& line)>;

  /// `now` tells milliseconds and never goes back. `open` throws std::runtime_error if there is no
  /// way to the kernel, and so does the constructor then. The first comparison is begun; until it
  /// has told what stands from an earlier run, nothing is sent.
  RouteSink(uv_loop_s* loop, RouteLedger::Clock now, const OpenChannel& open, Log log);
  RouteSink(const RouteSink&) = delete;
  RouteSink& operator=(const RouteSink&) = delete;
  ~RouteSink();

  // What is wanted: see RouteLedger. Nothing is sent before the loop's next turn.

  void Want(const RouteKey& key, const NextHops& nextHops);
  void Forgo(const RouteKey& key);
  void ForgoAllForNow();
  /// Ends that time: what nobody has wanted by now goes.
  void Sweep();
  /// Asks again now for what was refused; see RouteLedger::Retry.
  std::size_t Retry(const std::function<bool(const RouteKey&)>& isMeant);

  /// Nothing is sent any more when this returns; it waits for the kernel while that works a batch
  /// off. Nothing but the end of the object may follow.
  void Shut();

  /// How a comparison came out. Unless it is complete, the kernel's tables could not be read.
  struct Result {
    bool isComplete = false;
    Comparison comparison;
  };
  /// Compares from now on; `done` is called when that is over, from the loop, and not if the object
  /// goes before. What was missing has been asked for by then, and may be under way.
  void Compare(std::function<void(const Result&)> done);

  /// From now on `compared` is called after each comparison, however it came out, from the loop.
  void SetCompared(std::function<void()> compared) { m_compared = std::move(compared); }

  /// Whether nothing is under way. Routes that were refused, and wait for their next try, do not
  /// count.
  bool IsSettled() const;
  const RouteLedger& GetLedger() const { return m_ledger; }
  /// How often more came from the kernel than a socket holds.
  std::uint64_t CountOverruns() const { return m_overruns; }
  /// How many comparisons have been completed.
  std::uint64_t CountComparisons() const { return m_comparisons; }

 private:
  enum class Reading { NOTHING, IP4, IP6 };

  void Work();
  bool MaySend() const { return m_hasLearnt && !m_sending.IsUnderWay() && m_ledger.HasRequests(); }
  void Send();
  void Sent(int error);
  void ReadAnswers();
  void LoseAnswers();
  void BeginComparison();
  void BeginReading(Reading family);
  void ReadTables();
  void TakeTables(const Received& received);
  void EndReading(const DumpEnd& end);
  void FailComparison();
  void EndComparison(bool isComplete);
  void TellComparison(const Comparison& comparison);
  void HearChanges();
  void Overrun();
  void CompareSoon();
  void WaitForNextTry();
  void TellFirstRefusal();

  const RouteLedger::Clock m_now;
  const Log m_log;
  std::function<void()> m_compared;
  RouteLedger m_ledger;
  const std::shared_ptr<Channel> m_writing;  // shared with the pool
  const std::unique_ptr<Channel> m_reading;
  const std::unique_ptr<Channel> m_hearing;
  const std::shared_ptr<SendGate> m_gate;  // so too
  Batch m_batch;
  std::size_t m_requestsABatch = 500;  // fewer where a socket cannot hold so many answers
  ChannelPoll m_answers;
  ChannelPoll m_tables;
  ChannelPoll m_changes;
  loop::Work m_sending;
  loop::Task m_work;
  loop::Timer m_nextTry;
  loop::Timer m_soon;
  loop::Timer m_pause;  // between two comparisons
  Reading m_readingOf = Reading::NOTHING;
  std::uint32_t m_dump = 0;  // the sequence number of the dump that is read
  bool m_isInterrupted = false;
  unsigned int m_interruptions = 0;
  bool m_isLosing = false;  // news of links, until their socket is empty
  bool m_isComparing = false;
  bool m_isSoon = false;       // a comparison is to begin
  bool m_hasLearnt = false;    // what stands from an earlier run, or after lost answers
  bool m_isToRelearn = false;  // answers were lost after the comparison began
  bool m_hasToldUnread = false;
  bool m_hasToldRefusal = false;
  bool m_hasToldFailure = false;                                 // of sending
  std::vector<std::function<void(const Result&)>> m_askers;      // of the present comparison
  std::vector<std::function<void(const Result&)>> m_nextAskers;  // of the one after it
  std::uint64_t m_overruns = 0;
  std::uint64_t m_comparisons = 0;
};

}  // namespace kernel

#endif
