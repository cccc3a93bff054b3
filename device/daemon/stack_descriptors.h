// The routing stack's descriptors on the event loop.
#ifndef DEVICE_DAEMON_STACK_DESCRIPTORS_H
#define DEVICE_DAEMON_STACK_DESCRIPTORS_H

#include <map>
#include <memory>

#include "device/loop/loop_handles.h"
#include "host/dc_host_interfaces.h"

namespace vantacored {

/// Watches descriptors for the stack and reports readiness to the library. The descriptors are the
/// stack's, which removes them here before it closes them.
class StackDescriptors : public Tarsel::DcSckInterface {
 public:
  explicit StackDescriptors(uv_loop_s* loop) : m_loop(loop) {}

  void RegisterDescriptor(int fd, int mode, int id) override;
  void RemoveDescriptor(int fd, int id) override;
  void ChangeDescriptorMode(int fd, int mode) override;

  /// Ends all watches, for a stack that has been restarted and knows nothing of them.
  void Clear() { m_polls.clear(); }

 private:
  uv_loop_s* m_loop;
  std::map<int, std::unique_ptr<loop::Poll>> m_polls;
};

}  // namespace vantacored

#endif
