// The longest turns of a loop.
#ifndef DEVICE_LOOP_TURN_STATISTICS_H
#define DEVICE_LOOP_TURN_STATISTICS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace loop {

/// Keeps the longest turn, in microseconds, since the beginning and of the last minute. Nobody who
/// asks takes it from others. A minute is kept in steps, so what is told of it goes back for at
/// least LAST_MILLISECONDS and less than a step more.
class TurnStatistics {
 public:
  static constexpr std::uint64_t LAST_MILLISECONDS = 60000;
  static constexpr std::uint64_t STEP_MILLISECONDS = 5000;

  /// `now` is in milliseconds, on a clock that never goes back.
  void Add(std::uint64_t microseconds, std::uint64_t now);

  std::uint64_t GetLongest() const { return m_longest; }
  std::uint64_t FindLongestOfLastMinute(std::uint64_t now) const;

 private:
  static constexpr std::size_t STEPS = LAST_MILLISECONDS / STEP_MILLISECONDS + 1;

  struct Step {
    std::uint64_t number = 0;  // since the clock's 0
    std::uint64_t longest = 0;
  };
  std::array<Step, STEPS> m_steps{};  // each at the place of its number
  std::uint64_t m_longest = 0;
};

}  // namespace loop

#endif
