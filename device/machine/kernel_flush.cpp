#include "kernel_flush.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include "device/kernel/clean.h"
#include "device/program/counted.h"

namespace machine {

using program::Counted;

namespace {

// Less than service managers wait for a process that they have told to stop.
constexpr std::chrono::seconds LONGEST(10);

// Empty if nothing remains.
std::string DescribeRest(const kernel::Cleaned& cleaned, const char* one, const char* several) {
  if (!cleaned.problem.empty()) {
    return "; which " + std::string(several) + " remain is not known: " + cleaned.problem;
  }
  return cleaned.left == 0 ? ""
                           : "; it does not give up " + Counted(cleaned.left, one, several) + ": " +
                                 cleaned.reason;
}

}  // namespace

// Routes first: until its rules go, no VLAN's packets are looked up in another's table.
Flushed FlushKernel(const kernel::OpenChannel& open) {
  try {
    const auto end = std::chrono::steady_clock::now() + LONGEST;
    const kernel::Cleaned routes =
        kernel::RemoveOurRoutes(*open(kernel::Subscription::NOTHING), LONGEST);
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    const kernel::Cleaned rules =
        kernel::RemoveOurRules(*open(kernel::Subscription::NOTHING), left);
    const std::string rest =
        DescribeRest(routes, "route", "routes") + DescribeRest(rules, "rule", "rules");
    return {Counted(routes.removed, "route", "routes") + " and " +
                Counted(rules.removed, "rule", "rules") +
                " of this device are taken out of the kernel" + rest,
            rest.empty()};
  } catch (const std::runtime_error& problem) {
    return {std::string("What this device has in the kernel remains there: ") + problem.what(),
            false};
  }
}

}  // namespace machine
