// libuv's handles as objects: a handle ends with its object. An exception that a callback throws
// does not pass through libuv: it is logged. std::bad_alloc ends the process instead. The loop is
// borrowed and must outlive the objects.
#ifndef DEVICE_LOOP_LOOP_HANDLES_H
#define DEVICE_LOOP_LOOP_HANDLES_H

#include <cstdint>
#include <functional>

struct uv_loop_s;

namespace loop {

/// Calls back once after a time.
class Timer {
 public:
  explicit Timer(uv_loop_s* loop);
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  ~Timer();

  /// Starts the timer; a running one begins anew. `callback` may start the timer again or destroy
  /// it.
  void Start(std::uint64_t milliseconds, std::function<void()> callback);
  void Stop();

 private:
  struct Handle;
  Handle* m_handle;
};

/// Calls back once from the loop, as soon as possible. Descriptors and timers are served between
/// two calls.
class Task {
 public:
  explicit Task(uv_loop_s* loop);
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task();

  /// A second Post before the call replaces the first.
  void Post(std::function<void()> callback);

 private:
  struct Handle;
  Handle* m_handle;
};

/// Watches a descriptor, which is the caller's and must stay open meanwhile.
class Poll {
 public:
  /// If the loop cannot watch such a descriptor, IsUsable() is false afterwards.
  Poll(uv_loop_s* loop, int fd);
  Poll(const Poll&) = delete;
  Poll& operator=(const Poll&) = delete;
  ~Poll();

  bool IsUsable() const { return m_handle != nullptr; }
  /// `events` are libuv's; 0 stops the watch. The callback gets the events that have come, or a
  /// negative error.
  void Start(int events, std::function<void(int events)> callback);

 private:
  struct Handle;
  Handle* m_handle;
};

/// Calls back for every arrival of a signal.
class Signal {
 public:
  Signal(uv_loop_s* loop, int number, std::function<void()> callback);
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal();

 private:
  struct Handle;
  Handle* m_handle;
};

}  // namespace loop

#endif
