// As in loop_handles.cpp, a handle is freed some turns after it is closed.
#include "path_watch.h"

#include <uv.h>

#include <utility>

#include "guard.h"

namespace loop {

struct PathWatch::Handle {
  uv_fs_event_t uv;
  Changed changed;
};

PathWatch::PathWatch(uv_loop_s* loop) : m_handle(new Handle) {
  uv_fs_event_init(loop, &m_handle->uv);
  m_handle->uv.data = m_handle;
}

PathWatch::~PathWatch() {
  m_handle->changed = nullptr;
  uv_close(reinterpret_cast<uv_handle_t*>(&m_handle->uv),
           [](uv_handle_t* closed) { delete static_cast<Handle*>(closed->data); });
}

std::string PathWatch::Start(const std::string& path, Changed changed) {
  Stop();
  m_handle->changed = std::move(changed);
  const int problem = uv_fs_event_start(
      &m_handle->uv,
      [](uv_fs_event_t* event, const char* name, int, int) {
        Guard([changed = static_cast<Handle*>(event->data)->changed,
               text = std::string(name != nullptr ? name : "")] {
          if (changed) {
            changed(text);
          }
        });
      },
      path.c_str(), 0);
  return problem == 0 ? "" : uv_strerror(problem);
}

void PathWatch::Stop() { uv_fs_event_stop(&m_handle->uv); }

}  // namespace loop
