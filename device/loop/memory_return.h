// Gives memory back to the system after a piece of work has had its effects.
#ifndef DEVICE_LOOP_MEMORY_RETURN_H
#define DEVICE_LOOP_MEMORY_RETURN_H

#include <cstdint>
#include <functional>

#include "loop_handles.h"
#include "settled_wait.h"

namespace loop {

/// A start or a reload leaves requests that are answered one after the other for seconds or
/// minutes, and each answer frees a little. When that is over, all that is free goes back at once.
class MemoryReturn {
 public:
  /// How often it looks whether it is over; a look costs next to nothing.
  static constexpr std::uint64_t LOOK_MILLISECONDS = 1000;

  /// `giveBack` is called from the loop.
  MemoryReturn(uv_loop_s* loop, Activity activity, std::function<void()> giveBack,
               std::uint64_t lookMilliseconds = LOOK_MILLISECONDS);

  /// Work has been done. Calls `giveBack` once, after the first time between two looks in which
  /// nothing was under way and there was no progress. Called again meanwhile, it begins anew.
  void Expect();

 private:
  void Look();

  const Activity m_activity;
  const std::function<void()> m_giveBack;
  const std::uint64_t m_period;
  Timer m_timer;
  std::uint64_t m_progress = 0;
};

}  // namespace loop

#endif
