// Waits in the loop for what a channel brings.
#ifndef DEVICE_KERNEL_CHANNEL_POLL_H
#define DEVICE_KERNEL_CHANNEL_POLL_H

#include <functional>

#include "device/loop/loop_handles.h"
#include "netlink_socket.h"

namespace kernel {

/// Calls `readable` from the loop while there is something to receive. That messages were lost is an
/// error of the descriptor, with which the loop ends a watch; this one goes on. The channel is
/// borrowed.
class ChannelPoll {
 public:
  ChannelPoll(uv_loop_s* loop, const Channel& channel, std::function<void()> readable);

 private:
  void Watch();

  loop::Poll m_poll;
  const std::function<void()> m_readable;
};

}  // namespace kernel

#endif
