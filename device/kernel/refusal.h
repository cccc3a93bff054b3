// What the kernel says no to, and when it is asked again.
#ifndef DEVICE_KERNEL_REFUSAL_H
#define DEVICE_KERNEL_REFUSAL_H

#include <cstdint>
#include <string>

namespace kernel {

/// Something wanted that the kernel does not take, or something that it does not give up.
struct Refusal {
  int error = 0;
  std::string reason;        // the kernel's words; often none
  unsigned int tries = 0;    // that were refused, one after the other
  std::uint64_t nextAt = 0;  // by the clock; asked again then
  bool isOfDeletion = false;
};

/// "Network is unreachable (Nexthop has invalid gateway)".
std::string DescribeRefusal(const Refusal& refusal);

/// How long to wait, in milliseconds, when so many tries have been refused one after the other; at
/// least one.
std::uint64_t PauseAfterTries(unsigned int tries);

/// What the kernel says of a route or a rule that it does not have, or of a table.
bool IsGone(int error);

}  // namespace kernel

#endif
