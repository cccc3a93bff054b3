// Writes rules into the kernel, and keeps them there.
#ifndef DEVICE_KERNEL_RULE_KEEPER_H
#define DEVICE_KERNEL_RULE_KEEPER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "channel_poll.h"
#include "device/loop/loop_handles.h"
#include "device/loop/work.h"
#include "netlink_socket.h"
#include "rule_ledger.h"
#include "send_gate.h"

namespace kernel {

/// Holds what is wanted, sends it to the kernel in batches, and compares it with what the kernel has
/// when it is told to. It does by itself at its start, after answers were lost, and after a deletion:
/// the kernel takes a rule away that fits what is named, and that may be another one. Rules without
/// our number are never touched.
///
/// It has one channel, and either a batch is on its way or rules are read. A batch is sent in the
/// thread pool, because the kernel lets it wait for others.
///
/// Belongs to the loop's thread; calls back from the loop only. Its destructor leaves the rules
/// where they are.
class RuleKeeper {
 public:
  using Log = std::function<void(const std::string& line)>;

  /// `now` tells milliseconds and never goes back. `open` throws std::runtime_error if there is no
  /// way to the kernel, and so does the constructor then. The first comparison is begun; until it
  /// has told what stands from an earlier run, nothing is sent.
  RuleKeeper(uv_loop_s* loop, RuleLedger::Clock now, const OpenChannel& open, Log log);
  RuleKeeper(const RuleKeeper&) = delete;
  RuleKeeper& operator=(const RuleKeeper&) = delete;
  ~RuleKeeper();

  // What is wanted: see RuleLedger. Nothing is sent before the loop's next turn.

  void Want(Rules rules);
  void Sweep();
  /// Asks again now for all that was refused, and returns how many rules that are.
  std::size_t Retry();
  /// Nothing is sent any more when this returns; it waits for the kernel while that works a batch
  /// off. Nothing but the end of the object may follow.
  void Shut();

  /// How a comparison came out. Unless it is complete, the kernel's rules could not be read.
  struct Result {
    bool isComplete = false;
    RuleComparison comparison;
  };
  /// Compares from now on; `done`, which may be empty, is called when that is over, from the loop,
  /// and not if the object goes before. What was missing is asked for afterwards.
  void Compare(std::function<void(const Result&)> done);

  /// Whether nothing is under way. Rules that were refused, and wait for their next try, do not
  /// count.
  bool IsSettled() const;
  const RuleLedger& GetLedger() const { return m_ledger; }
  /// How often more came from the kernel than the socket holds.
  std::uint64_t CountOverruns() const { return m_overruns; }

 private:
  enum class Reading { NOTHING, IP4, IP6 };

  void WorkSoon();
  void Work();
  void Send();
  void Sent(int error);
  void Hear();
  void Take(const Received& received);
  void Overrun();
  void BeginReading(Reading family);
  void EndReading(const DumpEnd& end);
  void FailComparison();
  void EndComparison(bool isComplete);
  void TellComparison(const RuleComparison& comparison);
  void PauseAfterFailure();
  void WaitForNextTry();
  void TellFirstRefusal();

  const RuleLedger::Clock m_now;
  const Log m_log;
  RuleLedger m_ledger;
  const std::shared_ptr<Channel> m_channel;  // shared with the pool
  const std::shared_ptr<SendGate> m_gate;    // so too
  RuleBatch m_batch;
  ChannelPoll m_answers;
  loop::Work m_sending;
  loop::Task m_work;
  loop::Timer m_nextTry;
  loop::Timer m_pause;  // after a failure
  bool m_isPausing = false;
  bool m_isToCompare = true;
  bool m_hasDeleted = false;  // with a batch since the last comparison
  Reading m_readingOf = Reading::NOTHING;
  std::uint32_t m_dump;  // the sequence number of the dump that is read
  bool m_isInterrupted = false;
  unsigned int m_interruptions = 0;
  bool m_hasToldUnread = false;
  bool m_hasToldRefusal = false;
  bool m_hasToldFailure = false;  // of sending
  using Asker = std::function<void(const Result&)>;
  std::vector<Asker> m_askers;      // of the present comparison
  std::vector<Asker> m_nextAskers;  // of the one after it
  std::uint64_t m_overruns = 0;
};

}  // namespace kernel

#endif
