// Holds everything that is wanted against what the stack has.
#ifndef DEVICE_ROWS_COMPARER_H
#define DEVICE_ROWS_COMPARER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "device/loop/loop_handles.h"
#include "differences.h"
#include "keeper.h"
#include "stack_port.h"
#include "tarsel/timer.h"

namespace rows {

/// What `verify` found of one kind of rows, or of another part of the device.
struct Verdict {
  std::string kind;                // "routes", "folder"
  std::size_t rows = 0;            // that are wanted
  std::size_t fails = 0;           // that are not as wanted, or under way
  std::vector<std::string> lines;  // of the first of these
  /// Whether the stack's tables were read. If not, only requests that are under way or were refused
  /// can have failed.
  bool isCompared = true;
  std::size_t kept = 0;                     // that are in force until others can take their place
  std::vector<std::string> keptLines = {};  // of the first of these
  /// What there is to say of a part that has no rows: then `rows` is 0, and fails are not rows that
  /// are not as wanted. Empty for a kind of rows.
  std::string note = {};
  std::size_t besides = 0;  // fails that the last line speaks for beside its own
};

/// Passes over all keepers, in slices of the loop's turns: one when Compare is called, and all the
/// time a slow one that takes ten minutes. What a pass finds goes to Differences. A stack that is
/// not ready is not looked at.
class Comparer {
 public:
  static constexpr std::size_t ROWS_A_TURN = 2000;
  static constexpr std::uint64_t SLOW_PASS_MILLISECONDS = 600000;
  /// How many rows a keeper is asked to look at in one call.
  static constexpr std::size_t ROWS_A_CALL = 250;
  /// A turn in which so many rows were not as wanted ends early, because each may cost a line.
  static constexpr std::size_t FINDINGS_A_TURN = 250;

  /// The keepers in the order in which their rows depend on each other. Everything is borrowed.
  Comparer(uv_loop_s* loop, const StackPort& port, std::vector<Keeper*> keepers,
           Differences& differences);
  Comparer(const Comparer&) = delete;
  Comparer& operator=(const Comparer&) = delete;

  /// A pass over everything begins in the next turn. If one is under way, another follows it. A
  /// stack that is not ready is not looked at: the pass ends at once.
  void Compare();
  /// Whether such a pass is under way, or is to begin.
  bool IsComparing() const { return m_job == Job::COMPARE || m_isToCompare; }
  /// Begins the slow pass, which never ends. Whatever else is done lets it begin anew.
  void StartSlowPass();
  /// Forgets a pass that is under way, for a stack that has been restarted. A verification begins
  /// anew.
  void Stop();

  /// Looks at everything once, mends nothing, waits for nothing, and calls `done` from the loop.
  /// Each kind gets at most `mostLines` lines. Verifications take place one after the other. That
  /// of a stack that is not ready fails.
  void Verify(std::size_t mostLines, std::function<void(std::vector<Verdict>)> done);

 private:
  enum class Job { NONE, COMPARE, VERIFY };
  struct Verification {
    std::size_t mostLines;
    std::function<void(std::vector<Verdict>)> done;
    std::vector<Verdict> verdicts;
  };

  void Turn();
  void Choose();
  void Begin(Job job);
  bool Continue(std::size_t rows, const Keeper::Found& found);
  Keeper::Found Noting();
  void ContinueToCompare();
  void ContinueToVerify();
  void EndVerification();
  void Refuse();
  void Judge(const Row& row, const Standing& standing);
  void BeginSlowPass();
  void ContinueSlowPass();
  void WhenDue(unsigned int, void*);
  void Post();

  const StackPort& m_port;
  const std::vector<Keeper*> m_keepers;
  Differences& m_differences;
  loop::Task m_turn;
  Tarsel::OneShotTimer m_timer;  // of the slow pass

  Job m_job = Job::NONE;       // the slow pass takes place while there is none
  std::size_t m_keeper = 0;    // that the pass has come to
  bool m_hasBegun = false;     // with this keeper
  std::size_t m_findings = 0;  // of this turn

  bool m_isToCompare = false;
  std::deque<Verification> m_verifications;  // the first one is carried out
  bool m_wasVerifying = false;               // the last job

  bool m_isSlow = false;
  bool m_isStepDue = false;
  std::size_t m_rowsAStep = 0;
  std::size_t m_stepsLeft = 0;
  unsigned int m_stepMilliseconds = 0;
};

}  // namespace rows

#endif
