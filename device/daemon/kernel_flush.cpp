#include "kernel_flush.h"

#include <chrono>
#include <memory>
#include <stdexcept>

#include "device/kernel/clean.h"
#include "device/program/counted.h"

namespace vantacored {

using program::Counted;

namespace {

// Less than service managers wait for a process that they have told to stop.
constexpr std::chrono::seconds LONGEST(10);

}  // namespace

Flushed FlushKernel(const kernel::RouteSink::OpenChannel& open) {
  try {
    const std::unique_ptr<kernel::Channel> channel = open(kernel::Subscription::NOTHING);
    const kernel::Cleaned cleaned = kernel::RemoveOurRoutes(*channel, LONGEST);
    Flushed flushed;
    flushed.line =
        Counted(cleaned.removed, "route of this device is", "routes of this device are") +
        " taken out of the kernel";
    if (!cleaned.problem.empty()) {
      flushed.line += "; what remains is not known: " + cleaned.problem;
    } else if (cleaned.left != 0) {
      flushed.line += "; it does not give up " + Counted(cleaned.left, "route", "routes") + ": " +
                      cleaned.reason;
    } else {
      flushed.isComplete = true;
    }
    return flushed;
  } catch (const std::runtime_error& problem) {
    return {std::string("The routes of this device remain in the kernel: ") + problem.what(),
            false};
  }
}

}  // namespace vantacored
