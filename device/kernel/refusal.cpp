#include "refusal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kernel {

namespace {

constexpr std::uint64_t FIRST_PAUSE = 1000;  // milliseconds
constexpr std::uint64_t LONGEST_PAUSE = 60000;

}  // namespace

std::string DescribeRefusal(const Refusal& refusal) {
  const std::string cause = std::strerror(refusal.error);
  return refusal.reason.empty() ? cause : cause + " (" + refusal.reason + ")";
}

std::uint64_t PauseAfterTries(unsigned int tries) {
  const unsigned int doublings = std::min(tries - 1, 6u);
  return std::min(FIRST_PAUSE << doublings, LONGEST_PAUSE);
}

bool IsGone(int error) { return error == ESRCH || error == ENOENT; }

}  // namespace kernel
