// libuv calls back from the loop after the work, also after work that it could cancel; the job lives
// until then. Only the pool's thread touches `work` and `problem` before that, only the loop's thread
// touches them after it.
#include "work.h"

#include <uv.h>

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "guard.h"

namespace loop {

struct Work::Job {
  uv_work_t uv;
  Work* owner;  // null when it has dropped the job
  std::function<void()> work;
  std::optional<std::string> problem;
  Done done;

  void Run() {
    try {
      work();
    } catch (const std::bad_alloc&) {
      std::terminate();
    } catch (const std::exception& caught) {
      problem = caught.what();
    }
    work = nullptr;
  }

  void End() {
    if (owner == nullptr) {
      return;
    }
    owner->m_job = nullptr;
    if (done) {
      Guard([this] { done(problem); });
    }
  }
};

void Work::Start(std::function<void()> work, Done done) {
  Drop();
  m_job = new Job{{}, this, std::move(work), std::nullopt, std::move(done)};
  m_job->uv.data = m_job;
  uv_queue_work(
      m_loop, &m_job->uv, [](uv_work_t* request) { static_cast<Job*>(request->data)->Run(); },
      [](uv_work_t* request, int) {
        const std::unique_ptr<Job> job(static_cast<Job*>(request->data));
        job->End();
      });
}

void Work::Drop() {
  if (Job* job = std::exchange(m_job, nullptr)) {
    job->owner = nullptr;
    job->done = nullptr;
    uv_cancel(reinterpret_cast<uv_req_t*>(&job->uv));
  }
}

}  // namespace loop
