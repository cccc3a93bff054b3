// What a comparison with the stack has found, as lines for an operator.
#ifndef DEVICE_ROWS_VERIFY_H
#define DEVICE_ROWS_VERIFY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "comparer.h"
#include "differences.h"

namespace rows {

/// The row in words, with what is known of its repeats: "VLAN 10: route 10.9.0.0/16 via 10.1.2.1 is
/// missing in the stack: wrong value (status 3), asked 3 times, again in 4 s". `difference` is null
/// if it is not known as one; `now` is by the port's clock.
std::string DescribeFail(const Row& row, const Standing& standing,
                         const Differences::Difference* difference, std::uint64_t now,
                         const InterfaceNames& names = {});

/// What is held against what is wanted.
enum class Scope { ALL, STACK, KERNEL };

/// The lines of a verification, without their ends: a line for each kind that has passed, at most
/// `mostFails` lines each for old rows that are kept and for what has failed, and the totals at the
/// end, which name the parts without rows that have failed. What was not compared with the stack's tables has passed as far as is known, and the line
/// says so.
std::vector<std::string> DescribeVerdicts(const std::vector<Verdict>& verdicts,
                                          std::size_t mostFails);

/// Whether all have passed.
bool HavePassed(const std::vector<Verdict>& verdicts);

/// A line for each of the first differences.
std::vector<std::string> DescribeDifferences(const Differences& differences, std::size_t most);
/// "3 rows are not as wanted".
std::string DescribeCount(std::size_t differences);

}  // namespace rows

#endif
