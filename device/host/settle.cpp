#include "settle.h"

#include <uv.h>

#include <algorithm>
#include <utility>

#include "device/base/timer_loop.h"
#include "device/stack/routing_stack.h"
#include "device/stack/stack_control.h"

namespace host {

namespace {

using routing_stack::Call;

constexpr std::uint64_t LOOK_MILLISECONDS = 5;
constexpr std::uint64_t SCHEDULER_PERIOD_TICKS = 100;
constexpr std::uint64_t QUIET_PERIODS = 3;

// Requests for rows; a walk that somebody watches the tables with is no sign of change.
constexpr Call REQUESTS[] = {Call::kSmsActRtm,       Call::kSmsUpdateRoute, Call::kSmsActInterface,
                             Call::kSmsBldInterface, Call::kSmsActIpaddr,   Call::kSmsActRedist,
                             Call::kSmsBldRedist,    Call::kProtocolRow};

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

std::uint64_t QuietMilliseconds() {
  const std::uint64_t tick = Tarsel::TimerLoop::GetTickMicroseconds();
  return QUIET_PERIODS * SCHEDULER_PERIOD_TICKS * tick / 1000 + LOOK_MILLISECONDS;
}

}  // namespace

Settle::Settle(uv_loop_s* loop, routing_stack::RoutingStack& stack, std::function<bool()> isBusy)
    : m_timer(loop), m_stack(stack), m_isBusy(std::move(isBusy)) {}

void Settle::Wait(std::uint64_t limitMilliseconds, std::function<void(bool)> done) {
  m_done = std::move(done);
  m_begin = m_lastLook = NowMilliseconds();
  m_limit = limitMilliseconds;
  m_quiet = 0;
  m_requests = CountRequests();
  m_timer.Start(LOOK_MILLISECONDS, [this] { Look(); });
}

bool Settle::GiveUp() {
  if (!m_done) {
    return false;
  }
  m_timer.Start(0, [this] { std::exchange(m_done, {})(false); });
  return true;
}

// Time in which the loop was kept from turning is not quiet: nobody had a chance to ask.
void Settle::Look() {
  const std::uint64_t now = NowMilliseconds();
  const std::uint64_t requests = CountRequests();
  m_quiet += std::min(now - m_lastLook, 2 * LOOK_MILLISECONDS);
  m_lastLook = now;
  if (requests != m_requests || !m_stack.IsIdle() || (m_isBusy && m_isBusy())) {
    m_quiet = 0;
    m_requests = requests;
  }
  const bool settled = m_quiet >= QuietMilliseconds();
  if (settled || (m_limit != 0 && now - m_begin >= m_limit)) {
    std::exchange(m_done, {})(settled);
  } else {
    m_timer.Start(LOOK_MILLISECONDS, [this] { Look(); });
  }
}

std::uint64_t Settle::CountRequests() const {
  std::uint64_t count = 0;
  for (const Call call : REQUESTS) {
    count += m_stack.GetControl().CountOf(call);
  }
  return count;
}

}  // namespace host
