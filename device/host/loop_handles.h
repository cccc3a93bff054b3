// libuv's handles as objects: a handle ends with its owner, and no exception passes through libuv:
// it is logged, but for a lack of memory, which ends the process.
#ifndef DEVICE_HOST_LOOP_HANDLES_H
#define DEVICE_HOST_LOOP_HANDLES_H

#include <cstdint>
#include <functional>

struct uv_loop_s;

namespace host {

/// Calls back once.
class LoopTimer {
 public:
  explicit LoopTimer(uv_loop_s* loop);
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;
  ~LoopTimer();

  /// A start while waiting begins anew. `callback` may start the timer again or destroy it.
  void Start(std::uint64_t milliseconds, std::function<void()> callback);
  void Stop();

 private:
  struct Handle;
  Handle* m_handle;
};

/// Calls back from the loop, once and soon. Between two calls descriptors and timers get their turn.
class LoopTask {
 public:
  explicit LoopTask(uv_loop_s* loop);
  LoopTask(const LoopTask&) = delete;
  LoopTask& operator=(const LoopTask&) = delete;
  ~LoopTask();

  /// A Post before the call takes the place of the earlier one.
  void Post(std::function<void()> callback);

 private:
  struct Handle;
  Handle* m_handle;
};

/// Watches a descriptor, which is the caller's and must stay open meanwhile.
class LoopPoll {
 public:
  /// IsUsable() is false afterwards when the loop cannot watch such a descriptor.
  LoopPoll(uv_loop_s* loop, int fd);
  LoopPoll(const LoopPoll&) = delete;
  LoopPoll& operator=(const LoopPoll&) = delete;
  ~LoopPoll();

  bool IsUsable() const { return m_handle != nullptr; }
  /// `events` are libuv's; 0 stops. The callback is told which have come, or a negative error.
  void Start(int events, std::function<void(int events)> callback);

 private:
  struct Handle;
  Handle* m_handle;
};

/// Calls back for every arrival of a signal.
class LoopSignal {
 public:
  LoopSignal(uv_loop_s* loop, int number, std::function<void()> callback);
  LoopSignal(const LoopSignal&) = delete;
  LoopSignal& operator=(const LoopSignal&) = delete;
  ~LoopSignal();

 private:
  struct Handle;
  Handle* m_handle;
};

}  // namespace host

#endif
