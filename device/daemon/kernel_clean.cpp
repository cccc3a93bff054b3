#include "kernel_clean.h"

#include <cstdio>

#include "device/kernel/clean.h"
#include "device/program/counted.h"
#include "device/program/exit_status.h"

namespace vantacored {

using program::Counted;

int CleanKernel() {
  kernel::NetlinkSocket socket(kernel::Subscription::NOTHING);
  const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(socket);
  std::printf("%s removed\n", Counted(cleaned.removed, "route", "routes").c_str());
  if (!cleaned.problem.empty()) {
    std::fprintf(stderr, "vantacored: what remains in the kernel is not known: %s\n",
                 cleaned.problem.c_str());
    return program::EXIT_FAILED;
  }
  if (cleaned.left != 0) {
    std::fprintf(stderr, "vantacored: the kernel does not give up %s: %s\n",
                 Counted(cleaned.left, "route", "routes").c_str(), cleaned.reason.c_str());
    return program::EXIT_FAILED;
  }
  return program::EXIT_DONE;
}

}  // namespace vantacored
