// The event loop of the process.
#ifndef DEVICE_LOOP_LOOP_H
#define DEVICE_LOOP_LOOP_H

#include <cstdint>
#include <memory>

struct uv_loop_s;
struct uv_prepare_s;

namespace loop {

/// The event loop. Its destructor also finishes handles that are still closing. It measures its
/// turns, in processor time of its thread: a turn is all that happens between two waits for events.
/// Nothing else is served during a turn, so the longest turn is the longest time that anybody may
/// have had to wait.
class Loop {
 public:
  /// Throws std::runtime_error if the system gives no loop.
  Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop();
  uv_loop_s* Get() const { return m_loop.get(); }

  /// Returns the longest turn that has ended since the last call, in microseconds. The present turn
  /// is not among them.
  std::uint64_t TakeLongestTurn();

 private:
  void TurnEnds();

  std::unique_ptr<uv_loop_s> m_loop;
  uv_prepare_s* m_turns;
  std::uint64_t m_turnBegin = 0;  // microseconds of processor time
  std::uint64_t m_longestTurn = 0;
};

}  // namespace loop

#endif
