// libuv closes a handle some turns after it is asked to, so each lives on the heap and is freed then.
#include "loop_handles.h"

#include <fcntl.h>
#include <uv.h>

#include "guard.h"

namespace loop {

namespace {

template <class Handle>
void Close(Handle* handle) {
  uv_close(reinterpret_cast<uv_handle_t*>(&handle->uv),
           [](uv_handle_t* closed) { delete static_cast<Handle*>(closed->data); });
}

}  // namespace

struct Timer::Handle {
  uv_timer_t uv;
  std::function<void()> callback;
};

Timer::Timer(uv_loop_s* loop) : m_handle(new Handle) {
  uv_timer_init(loop, &m_handle->uv);
  m_handle->uv.data = m_handle;
}

Timer::~Timer() {
  m_handle->callback = nullptr;
  Close(m_handle);
}

void Timer::Start(std::uint64_t milliseconds, std::function<void()> callback) {
  m_handle->callback = std::move(callback);
  uv_timer_start(
      &m_handle->uv, [](uv_timer_t* timer) { Guard(static_cast<Handle*>(timer->data)->callback); },
      milliseconds, 0);
}

void Timer::Stop() { uv_timer_stop(&m_handle->uv); }

// A timer without delay would not do: libuv runs it again and again within one turn.
struct Task::Handle {
  uv_idle_t uv;
  std::function<void()> callback;
};

Task::Task(uv_loop_s* loop) : m_handle(new Handle) {
  uv_idle_init(loop, &m_handle->uv);
  m_handle->uv.data = m_handle;
}

Task::~Task() {
  m_handle->callback = nullptr;
  Close(m_handle);
}

void Task::Post(std::function<void()> callback) {
  m_handle->callback = std::move(callback);
  uv_idle_start(&m_handle->uv, [](uv_idle_t* idle) {
    uv_idle_stop(idle);
    Guard(static_cast<Handle*>(idle->data)->callback);
  });
}

struct Poll::Handle {
  uv_poll_t uv;
  std::function<void(int)> callback;
};

Poll::Poll(uv_loop_s* loop, int fd) : m_handle(new Handle) {
  // libuv makes the descriptor non-blocking, and with it whoever shares it: a terminal's input is
  // usually its output too.
  const int flags = fcntl(fd, F_GETFL);
  const int problem = uv_poll_init(loop, &m_handle->uv, fd);
  if (flags != -1) {
    fcntl(fd, F_SETFL, flags);
  }
  if (problem != 0) {
    delete m_handle;
    m_handle = nullptr;
    return;
  }
  m_handle->uv.data = m_handle;
}

Poll::~Poll() {
  if (m_handle) {
    m_handle->callback = nullptr;
    Close(m_handle);
  }
}

void Poll::Start(int events, std::function<void(int)> callback) {
  if (!m_handle) {
    return;
  }
  m_handle->callback = std::move(callback);
  if (events == 0) {
    uv_poll_stop(&m_handle->uv);
    return;
  }
  uv_poll_start(&m_handle->uv, events, [](uv_poll_t* poll, int status, int come) {
    Guard([callback = static_cast<Handle*>(poll->data)->callback, status, come] {
      if (callback) {
        callback(status < 0 ? status : come);
      }
    });
  });
}

struct Signal::Handle {
  uv_signal_t uv;
  std::function<void()> callback;
};

Signal::Signal(uv_loop_s* loop, int number, std::function<void()> callback) : m_handle(new Handle) {
  m_handle->callback = std::move(callback);
  uv_signal_init(loop, &m_handle->uv);
  m_handle->uv.data = m_handle;
  uv_signal_start(
      &m_handle->uv,
      [](uv_signal_t* signal, int) { Guard(static_cast<Handle*>(signal->data)->callback); },
      number);
}

Signal::~Signal() {
  m_handle->callback = nullptr;
  Close(m_handle);
}

}  // namespace loop
