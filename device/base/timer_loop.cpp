#include "device/base/timer_loop.h"

#include <algorithm>

#include "timer_queue.h"

namespace Tarsel {

namespace {

// One thread drives all timers of the process.
TimerLoop* g_current = nullptr;
unsigned int g_tick = 1000;

}  // namespace

TimerLoop::TimerLoop() : m_queue(std::make_unique<Queue>(this)) {}

TimerLoop::~TimerLoop() {
  if (g_current == this) {
    g_current = nullptr;
  }
}

TimerLoop* TimerLoop::GetCurrent() { return g_current; }

void TimerLoop::SetCurrent(TimerLoop* loop) { g_current = loop; }

unsigned int TimerLoop::GetTickMicroseconds() { return g_tick; }

void TimerLoop::SetTickMicroseconds(unsigned int microseconds) {
  const unsigned int before = g_tick;
  g_tick = std::max(microseconds, 1u);
  if (g_current != nullptr) {
    g_current->m_queue->ChangeTick(before, g_tick, g_current->Now());
    g_current->DeadlineChanged();
  }
}

VirtualLoop::VirtualLoop() : m_now(0) {}
VirtualLoop::~VirtualLoop() = default;

void VirtualLoop::AdvanceMilliseconds(std::uint64_t milliseconds) {
  AdvanceMicroseconds(milliseconds * 1000);
}

void VirtualLoop::AdvanceMicroseconds(std::uint64_t microseconds) {
  const std::uint64_t end = AddTime(m_now, microseconds);
  while (m_queue->Earliest() <= end) {
    RunNext();
  }
  m_now = std::max(m_now, end);
}

// A callback may move time forward itself, hence the comparisons: what became due meanwhile fires
// late, and time does not go back.
bool VirtualLoop::RunNext() {
  const std::uint64_t next = m_queue->Earliest();
  if (next == NO_DEADLINE) {
    return false;
  }
  m_now = std::max(m_now, next);
  m_queue->FireFirst();
  return true;
}

bool VirtualLoop::RunUntil(const std::function<bool()>& done, std::uint64_t limitMilliseconds) {
  const std::uint64_t end = AddTime(m_now, limitMilliseconds * 1000);
  while (!done()) {
    if (m_queue->Earliest() > end) {
      m_now = std::max(m_now, end);
      return done();
    }
    RunNext();
  }
  return true;
}

std::uint64_t VirtualLoop::MicrosecondsToNext() const {
  const std::uint64_t next = m_queue->Earliest();
  return next == NO_DEADLINE ? NO_DEADLINE : next - std::min(next, m_now);
}

}  // namespace Tarsel
