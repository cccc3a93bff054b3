#include "memory_return.h"

#include <utility>

namespace loop {

MemoryReturn::MemoryReturn(uv_loop_s* loop, Activity activity, std::function<void()> giveBack,
                           std::uint64_t lookMilliseconds)
    : m_activity(std::move(activity)),
      m_giveBack(std::move(giveBack)),
      m_period(lookMilliseconds),
      m_timer(loop) {}

void MemoryReturn::Expect() {
  m_progress = m_activity.FindProgress().done;
  m_timer.Start(m_period, [this] { Look(); });
}

void MemoryReturn::Look() {
  if (m_activity.isUnderWay() || m_activity.FindProgress().done != m_progress) {
    Expect();
  } else {
    m_giveBack();
  }
}

}  // namespace loop
