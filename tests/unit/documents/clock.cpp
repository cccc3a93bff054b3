#include "tests/unit/documents/clock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>
#include <utility>

namespace documents_tests {

std::int64_t Clock::ahead = 0;
std::int64_t Clock::stands = 0;
std::function<void()> Clock::onAsked;

}  // namespace documents_tests

// Instead of the system's library: no test can set the machine's clock, or wait for it.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  using documents_tests::Clock;
  using documents_tests::SECOND;
  const long result = syscall(SYS_clock_gettime, clock, time);
  if (clock == CLOCK_REALTIME) {
    if (Clock::onAsked) {
      const auto asked = std::exchange(Clock::onAsked, nullptr);
      asked();
      Clock::onAsked = Clock::onAsked ? Clock::onAsked : asked;
    }
    const std::int64_t now = time->tv_sec * SECOND + time->tv_nsec + Clock::ahead;
    const std::int64_t told = Clock::stands != 0 ? Clock::stands : now;
    time->tv_sec = static_cast<time_t>(told / SECOND);
    time->tv_nsec = static_cast<long>(told % SECOND);
  }
  return static_cast<int>(result);
}
