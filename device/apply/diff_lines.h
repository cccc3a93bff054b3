// What `diff` tells.
#ifndef DEVICE_APPLY_DIFF_LINES_H
#define DEVICE_APPLY_DIFF_LINES_H

#include <cstddef>
#include <string>
#include <vector>

#include "device/intent/intent.h"
#include "outcome.h"

namespace apply {

/// So many changes are told at most.
constexpr std::size_t MOST_DIFF_LINES = 100000;

/// Fills in the changes. For the thread pool.
void CollectChanges(const intent::Intent& from, const intent::Intent& to, Outcome& outcome);

/// The lines that tell them, with the totals. For the thread pool.
std::vector<std::string> DescribeChanges(const Outcome& outcome);

/// "2 warnings; `check` shows them", of what `revision` has, or of the folder if that is 0.
std::string DescribeWarnings(std::size_t count, unsigned int revision);

/// What there is to say besides: the time that the requests take, if that is known, what the guard
/// says, and how many routes of the last change are still kept.
std::vector<std::string> DescribeEffect(const Outcome& outcome);

/// "2 old routes are kept until a new one can take its place, or a reload".
std::string DescribeKept(std::size_t count);

}  // namespace apply

#endif
