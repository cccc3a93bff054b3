// Real time: one libuv timer is armed for the earliest deadline of the queue. libuv counts
// milliseconds, so one turn often finds several short periods due and fires them all, within a
// bound that leaves descriptors and other timers their share of the loop.
#include <uv.h>

#include "device/base/timer_loop.h"
#include "timer_queue.h"

namespace Tarsel {

namespace {

constexpr std::uint64_t MAX_TURN_MICROSECONDS = 5000;

}  // namespace

struct UvLoop::Handle {
  uv_timer_t timer;
  UvLoop* owner;
  std::uint64_t armedFor;  // NO_DEADLINE while the libuv timer is idle
  bool firing;

  static void OnTimer(uv_timer_t* timer) {
    static_cast<Handle*>(timer->data)->owner->RunDueTimers();
  }
  static void OnClosed(uv_handle_t* handle) { delete static_cast<Handle*>(handle->data); }
};

UvLoop::UvLoop(uv_loop_s* loop) : m_handle(new Handle) {
  uv_timer_init(loop, &m_handle->timer);
  m_handle->timer.data = m_handle;
  m_handle->owner = this;
  m_handle->armedFor = NO_DEADLINE;
  m_handle->firing = false;
}

UvLoop::~UvLoop() { uv_close(reinterpret_cast<uv_handle_t*>(&m_handle->timer), Handle::OnClosed); }

std::uint64_t UvLoop::Now() const { return uv_hrtime() / 1000; }

void UvLoop::DeadlineChanged() {
  const std::uint64_t earliest = m_queue->Earliest();
  if (m_handle->firing || earliest == m_handle->armedFor) {
    return;
  }
  m_handle->armedFor = earliest;
  if (earliest == NO_DEADLINE) {
    uv_timer_stop(&m_handle->timer);
    return;
  }
  // At least one millisecond: libuv runs a timer that is already due in the same turn, again and
  // again, before it looks at any descriptor. In a busy loop this costs nothing, since libuv counts
  // from the time at which its turn began.
  const std::uint64_t now = Now();
  const std::uint64_t wait = earliest > now ? (earliest - now + 999) / 1000 : 1;
  uv_timer_start(&m_handle->timer, Handle::OnTimer, wait, 0);
}

// Only what was due when the turn began: a timer that a callback starts without delay waits for the
// next turn.
void UvLoop::RunDueTimers() {
  const std::uint64_t begin = Now();
  m_handle->firing = true;
  while (m_queue->Earliest() <= begin) {
    m_queue->FireFirst();
    const std::uint64_t now = Now();
    if (now - begin >= MAX_TURN_MICROSECONDS) {
      m_queue->DropMissedPeriods(now);
      break;
    }
  }
  m_handle->firing = false;
  m_handle->armedFor = NO_DEADLINE;
  DeadlineChanged();
}

}  // namespace Tarsel
