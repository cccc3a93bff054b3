// Counts what the whole test program allocates with `new`.
#ifndef TESTS_UNIT_BASE_ALLOCATION_COUNTER_H
#define TESTS_UNIT_BASE_ALLOCATION_COUNTER_H

#include <cstddef>

/// Calls of `operator new` since the program began.
std::size_t AllocationCount();

#endif
