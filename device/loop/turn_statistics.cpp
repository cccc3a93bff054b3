#include "turn_statistics.h"

#include <algorithm>

namespace loop {

void TurnStatistics::Add(std::uint64_t microseconds, std::uint64_t now) {
  const std::uint64_t number = now / STEP_MILLISECONDS;
  Step& step = m_steps[number % STEPS];
  if (step.number != number) {
    step = {number, 0};
  }
  step.longest = std::max(step.longest, microseconds);
  m_longest = std::max(m_longest, microseconds);
}

std::uint64_t TurnStatistics::FindLongestOfLastMinute(std::uint64_t now) const {
  const std::uint64_t number = now / STEP_MILLISECONDS;
  std::uint64_t longest = 0;
  for (const Step& step : m_steps) {
    if (step.number + STEPS > number) {
      longest = std::max(longest, step.longest);
    }
  }
  return longest;
}

}  // namespace loop
