#include "pace.h"

#include <algorithm>
#include <utility>

#include "device/base/timer_loop.h"

namespace vantacored {

using Tarsel::TimerLoop;

namespace {

// Measured with 100,000 routes at the short tick: then the library and the stack set the pace.
constexpr std::uint64_t MOST_REQUESTS_A_SECOND = 100000;

}  // namespace

Pace::Pace(std::function<Traffic()> look, std::function<std::uint64_t()> now,
           std::optional<unsigned int> fixed)
    : m_look(std::move(look)), m_now(std::move(now)), m_fixedForGood(fixed), m_fixed(fixed) {
  TimerLoop::SetTickMicroseconds(fixed.value_or(IDLE_MICROSECONDS));
}

void Pace::Fix(std::optional<unsigned int> microseconds) {
  m_fixed = microseconds ? microseconds : m_fixedForGood;
  Look();
}

// A pass of the library's scheduler takes 31 requests, every hundred ticks.
std::uint64_t Pace::RequestsASecond() const {
  const unsigned int tick = m_fixed.value_or(SHORT_MICROSECONDS);
  return std::min<std::uint64_t>(310000 / tick, MOST_REQUESTS_A_SECOND);
}

// A change of the tick goes over all running timers, so it is not made needlessly.
void Pace::Look() {
  const unsigned int tick = m_fixed ? *m_fixed : Choose();
  if (tick != TimerLoop::GetTickMicroseconds()) {
    TimerLoop::SetTickMicroseconds(tick);
  }
}

unsigned int Pace::Choose() {
  const Traffic traffic = m_look();
  const bool isAnswering = IsAnswering(traffic);
  if (traffic.waiting == 0) {
    return IDLE_MICROSECONDS;
  }
  if (!m_hasFresh || !isAnswering) {
    return NORMAL_MICROSECONDS;
  }
  return traffic.retried + traffic.givenUp > 0 ? SHORTEST_MICROSECONDS : SHORT_MICROSECONDS;
}

// The stack gets its time from the moment at which there is something for it to answer.
bool Pace::IsAnswering(const Traffic& traffic) {
  const bool hadFresh = std::exchange(m_hasFresh, traffic.waiting > traffic.retried);
  const bool hasAnswered = std::exchange(m_concluded, traffic.concluded) != traffic.concluded;
  const std::uint64_t now = m_now();
  if (hasAnswered || (m_hasFresh && !hadFresh)) {
    m_lastAnswer = now;
  }
  return now - m_lastAnswer < PATIENCE_MILLISECONDS;
}

}  // namespace vantacored
