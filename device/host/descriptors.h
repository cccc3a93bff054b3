// The routing stack's descriptors on the event loop.
#ifndef DEVICE_HOST_DESCRIPTORS_H
#define DEVICE_HOST_DESCRIPTORS_H

#include <map>
#include <memory>

#include "host/dc_host_interfaces.h"
#include "loop_handles.h"

namespace host {

/// Watches descriptors for the stack and reports readiness to the library. The stack keeps the
/// descriptors and removes them before it closes them.
class Descriptors : public Tarsel::DcSckInterface {
 public:
  explicit Descriptors(uv_loop_s* loop) : m_loop(loop) {}

  void RegisterDescriptor(int fd, int mode, int id) override;
  void RemoveDescriptor(int fd, int id) override;
  void ChangeDescriptorMode(int fd, int mode) override;

  /// Watches none any more, for a stack that has been restarted and knows nothing of them.
  void Clear() { m_polls.clear(); }

 private:
  uv_loop_s* m_loop;
  std::map<int, std::unique_ptr<LoopPoll>> m_polls;
};

}  // namespace host

#endif
