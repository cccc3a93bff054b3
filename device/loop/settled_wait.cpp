#include "settled_wait.h"

#include <uv.h>

#include <algorithm>
#include <utility>

namespace loop {

namespace {

constexpr std::uint64_t LOOK_MILLISECONDS = 5;

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

}  // namespace

SettledWait::SettledWait(uv_loop_s* loop, Activity activity)
    : m_timer(loop), m_activity(std::move(activity)) {}

void SettledWait::Wait(std::uint64_t limitMilliseconds, std::function<void(bool)> done) {
  m_done = std::move(done);
  m_begin = m_lastLook = NowMilliseconds();
  m_limit = limitMilliseconds;
  m_quiet = 0;
  m_requests = m_activity.countRequests();
  m_timer.Start(LOOK_MILLISECONDS, [this] { Look(); });
}

bool SettledWait::GiveUp() {
  if (!m_done) {
    return false;
  }
  m_timer.Start(0, [this] { std::exchange(m_done, {})(false); });
  return true;
}

void SettledWait::Stop() {
  m_timer.Stop();
  m_done = nullptr;
}

// Time in which the loop was kept from turning is not quiet: nobody had a chance to ask. One look later
// than the quiet time, since it may have begun between two looks.
void SettledWait::Look() {
  const std::uint64_t now = NowMilliseconds();
  const std::uint64_t requests = m_activity.countRequests();
  m_quiet += std::min(now - m_lastLook, 2 * LOOK_MILLISECONDS);
  m_lastLook = now;
  if (requests != m_requests || m_activity.isUnderWay()) {
    m_quiet = 0;
    m_requests = requests;
  }
  const bool settled = m_quiet >= m_activity.getQuietMilliseconds() + LOOK_MILLISECONDS;
  if (settled || (m_limit != 0 && now - m_begin >= m_limit)) {
    std::exchange(m_done, {})(settled);
  } else {
    m_timer.Start(LOOK_MILLISECONDS, [this] { Look(); });
  }
}

}  // namespace loop
