// vantacored --kernel-clean
#ifndef DEVICE_MACHINE_KERNEL_CLEAN_H
#define DEVICE_MACHINE_KERNEL_CLEAN_H

#include "device/kernel/netlink_socket.h"

namespace machine {

/// Removes every route and rule of this device from the kernel, says on standard output how many,
/// and returns the exit status: 0, or 1 if some remain or the kernel cannot be asked. Throws
/// what `open` throws.
int CleanKernel(const kernel::OpenChannel& open);

}  // namespace machine

#endif
