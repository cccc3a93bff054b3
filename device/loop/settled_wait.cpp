#include "settled_wait.h"

#include <uv.h>

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
  m_begin = NowMilliseconds();
  m_limit = limitMilliseconds;
  m_progress = GetProgress().done;
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

void SettledWait::Look() {
  const std::uint64_t now = NowMilliseconds();
  const std::uint64_t progress = GetProgress().done;
  if (progress != m_progress) {
    m_begin = now;
    m_progress = progress;
  }
  const bool settled = !m_activity.isUnderWay();
  if (settled || (m_limit != 0 && now - m_begin >= m_limit)) {
    std::exchange(m_done, {})(settled);
  } else {
    m_timer.Start(LOOK_MILLISECONDS, [this] { Look(); });
  }
}

}  // namespace loop
