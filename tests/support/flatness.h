// Whether memory stays where it is.
#ifndef TESTS_SUPPORT_FLATNESS_H
#define TESTS_SUPPORT_FLATNESS_H

#include <cstddef>
#include <string>
#include <vector>

namespace test_support {

/// The memory at one moment, in bytes.
struct Sample {
  double hours;           ///< of simulated time
  std::size_t resident;   ///< of the process, as the kernel counts it
  std::size_t allocated;  ///< through operator new and not released
  std::size_t blocks;     ///< that these are
  bool restored;          ///< the network is exactly as it was at every other such moment
};

/// What is wrong, or empty when memory is flat after `warmUpHours`:
///
/// - Resident memory: no later sample is above the highest of the first half of what follows the
///   warm-up by more than 1 % and 256 KiB, the grain of the allocator. What grows steadily by more
///   than that is found however often it also shrinks.
/// - Allocated memory: between the first and the last restored sample after the warm-up it grows by
///   at most 32 blocks and 4 KiB. The same rows need the same memory, so a leak of a few bytes per
///   event, which drowns in the resident figure, shows here. The bytes include the rounding of the
///   allocator, the blocks do not; the few allowed are events of
///   the soak's own that wait for their time, such as links that are to come back.
///
/// Fewer than four samples after the warm-up, or fewer than two restored ones, show nothing and are
/// wrong as well.
std::string WhatGrows(const std::vector<Sample>& samples, double warmUpHours);

}  // namespace test_support

#endif
