// Waits in the loop for what a channel brings.
#ifndef DEVICE_KERNEL_CHANNEL_POLL_H
#define DEVICE_KERNEL_CHANNEL_POLL_H

#include <cstddef>
#include <cstdint>
#include <functional>

#include "device/loop/loop_handles.h"
#include "netlink_socket.h"

namespace kernel {

// Of those who read in the loop what the kernel has.

/// Of a dump, of 32 KiB each: about three milliseconds at most.
constexpr std::size_t PACKETS_A_TURN = 4;
/// How often a reading that the kernel interrupts begins anew before it counts as one that fails.
constexpr unsigned int MOST_INTERRUPTIONS = 5;
/// Milliseconds until the next try.
constexpr std::uint64_t PAUSE_AFTER_FAILURE = 1000;

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
