// What the device has put into the kernel goes with it.
#ifndef DEVICE_MACHINE_KERNEL_FLUSH_H
#define DEVICE_MACHINE_KERNEL_FLUSH_H

#include <string>

#include "device/kernel/netlink_socket.h"

namespace machine {

struct Flushed {
  std::string line;  // how many are gone, and what remains
  bool isComplete = false;
};

/// Removes what --kernel-clean removes, in ten seconds at most. Nobody else of the process writes
/// into the kernel meanwhile.
Flushed FlushKernel(const kernel::OpenChannel& open);

}  // namespace machine

#endif
