// Takes away what the device has left in the kernel.
#ifndef DEVICE_KERNEL_CLEAN_H
#define DEVICE_KERNEL_CLEAN_H

#include <chrono>
#include <cstddef>
#include <string>

#include "netlink_socket.h"

namespace kernel {

struct Cleaned {
  std::size_t removed = 0;
  std::size_t left = 0;  // that the kernel did not give up
  std::string reason;    // why not, for one of them
  std::string problem;   // why nothing is known of what is left; empty: `left` is right
};

/// Removes every route under our number from all tables, and waits until the kernel has answered.
/// For a process that has no loop, or none any more. `channel` is used by nobody else meanwhile.
/// It takes about `most` at most; then there is a problem.
Cleaned RemoveOurRoutes(Channel& channel, std::chrono::milliseconds most = std::chrono::hours(1));
/// The same for rules.
Cleaned RemoveOurRules(Channel& channel, std::chrono::milliseconds most = std::chrono::hours(1));

}  // namespace kernel

#endif
