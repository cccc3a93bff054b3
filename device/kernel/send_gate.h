// What batches of requests pass by that are sent in the thread pool.
#ifndef DEVICE_KERNEL_SEND_GATE_H
#define DEVICE_KERNEL_SEND_GATE_H

#include <cerrno>
#include <mutex>
#include <vector>

#include "netlink_socket.h"

namespace kernel {

/// Lets its owner be sure that nothing goes out any more. Shared by the owner and the work that it
/// has begun; any thread may call any function.
class SendGate {
 public:
  /// As Channel::Send; ECANCELED once it is shut.
  int Send(Channel& channel, const std::vector<char>& bytes) {
    const std::lock_guard lock(m_mutex);
    return m_isShut ? ECANCELED : channel.Send(bytes);
  }

  /// Nothing is sent any more when this returns; it waits for the kernel while that works a batch
  /// off.
  void Shut() {
    const std::lock_guard lock(m_mutex);
    m_isShut = true;
  }

 private:
  std::mutex m_mutex;
  bool m_isShut = false;
};

}  // namespace kernel

#endif
