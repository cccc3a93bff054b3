// What `diff` tells.
#ifndef DEVICE_APPLY_DIFF_LINES_H
#define DEVICE_APPLY_DIFF_LINES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "device/intent/intent.h"
#include "device/plan/plan.h"
#include "guard.h"

namespace apply {

/// The changes, at most MOST_DIFF_LINES of them, and the totals. For the thread pool.
constexpr std::size_t MOST_DIFF_LINES = 100000;
std::vector<std::string> DescribeChanges(const intent::Intent& from, const intent::Intent& to,
                                         const plan::Plan& plan);

/// What there is to say besides: the time that the requests take, if it is known how many are made
/// a second (else 0), what the guard says, and how many routes of the last change are still kept.
std::vector<std::string> DescribeEffect(const plan::Plan& plan, std::uint64_t requestsASecond,
                                        const Guard::Verdict& verdict, std::size_t kept);

}  // namespace apply

#endif
