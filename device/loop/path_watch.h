// Changes of a folder or a file, as the system tells of them.
#ifndef DEVICE_LOOP_PATH_WATCH_H
#define DEVICE_LOOP_PATH_WATCH_H

#include <functional>
#include <string>

struct uv_loop_s;

namespace loop {

/// Watches what is at a path: a folder with its entries, but not what is in its folders. The system
/// may lose news, and tells nothing more of a folder that has been removed or has another name now:
/// whoever relies on this looks by itself now and then, and starts the watch again. The loop is
/// borrowed and must outlive the object.
class PathWatch {
 public:
  explicit PathWatch(uv_loop_s* loop);
  PathWatch(const PathWatch&) = delete;
  PathWatch& operator=(const PathWatch&) = delete;
  ~PathWatch();

  /// Takes the name of the entry that has changed, empty for the folder itself or if it is not
  /// known. May start the watch again or destroy it.
  using Changed = std::function<void(const std::string& name)>;

  /// Watches what is there now; what has been watched before no longer is. Returns why it cannot be
  /// watched, or nothing.
  std::string Start(const std::string& path, Changed changed);
  void Stop();

 private:
  struct Handle;
  Handle* m_handle;
};

}  // namespace loop

#endif
