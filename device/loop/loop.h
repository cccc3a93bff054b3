// The event loop of the process.
#ifndef DEVICE_LOOP_LOOP_H
#define DEVICE_LOOP_LOOP_H

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "turn_statistics.h"

struct uv_loop_s;
struct uv_prepare_s;

namespace loop {

/// The event loop. Its destructor also finishes handles that are still closing, and waits for work
/// in the thread pool that has begun (work.h). The loop measures its turns, in processor time of
/// its thread: a turn is all that happens between two waits for events. Nothing else is served
/// during a turn, so the longest turn is the longest time that anybody may have had to wait.
class Loop {
 public:
  /// Throws std::runtime_error if the system gives no loop.
  Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop();
  uv_loop_s* Get() const { return m_loop.get(); }

  /// Calls `callback` at the end of each turn, before the wait for events; an empty one ends that.
  /// It counts as part of the turn, and does not keep the loop running.
  void AtTurnEnd(std::function<void()> callback) { m_atTurnEnd = std::move(callback); }

  /// Returns the longest turn since the last call, in microseconds. The present turn counts as far
  /// as it has gone, and again when it has ended.
  std::uint64_t TakeLongestTurn();
  /// The longest turns that have ended, in microseconds: since the loop was made, and of the last
  /// minute. Any number of readers may ask.
  std::uint64_t GetLongestTurn() const { return m_statistics.GetLongest(); }
  std::uint64_t FindLongestTurnOfLastMinute() const;

  /// Carries out `work`, whose time does not count as part of a turn but is told apart: it cannot
  /// be divided. May be called from callbacks of the loop only.
  void Apart(const std::function<void()>& work);
  /// Returns the longest time that one call of Apart has taken since the last call of this, in
  /// microseconds of processor time.
  std::uint64_t TakeLongestApart();

 private:
  void TurnEnds();

  std::unique_ptr<uv_loop_s> m_loop;
  uv_prepare_s* m_turns;
  std::function<void()> m_atTurnEnd;
  std::uint64_t m_turnBegin = 0;  // microseconds of processor time
  std::uint64_t m_longestTurn = 0;
  std::uint64_t m_longestApart = 0;
  TurnStatistics m_statistics;
};

}  // namespace loop

#endif
