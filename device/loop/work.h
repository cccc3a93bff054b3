// Work outside the loop's thread.
#ifndef DEVICE_LOOP_WORK_H
#define DEVICE_LOOP_WORK_H

#include <functional>
#include <optional>
#include <string>

struct uv_loop_s;

namespace loop {

/// Carries out work in libuv's thread pool. What runs there must not log, must not call the library,
/// and must own all that it uses or share it with others that only read it: its object may end
/// before it does. The loop is borrowed, must outlive the object, and has to run on until work that
/// has begun is over (loop::Loop's destructor sees to that).
class Work {
 public:
  /// Takes what an exception of the work said; nothing if the work returned.
  using Done = std::function<void(const std::optional<std::string>& problem)>;

  explicit Work(uv_loop_s* loop) : m_loop(loop) {}
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  /// Work that has begun goes on to its end; `done` is not called.
  ~Work() { Drop(); }

  /// Carries out `work` in the pool and frees it there; then calls `done` from the loop, like a
  /// callback of loop_handles.h. An exception of `work` is handed to `done`; std::bad_alloc ends the
  /// process. `done` may be empty; it may start the next work or destroy this object. Work that is under way already
  /// is dropped first.
  void Start(std::function<void()> work, Done done);

  /// Work that is under way goes on to its end, but its `done` is not called. Work that has not
  /// begun yet may never begin.
  void Drop();

  bool IsUnderWay() const { return m_job != nullptr; }

 private:
  struct Job;

  uv_loop_s* const m_loop;
  Job* m_job = nullptr;  // owned by the loop until the work is over
};

}  // namespace loop

#endif
