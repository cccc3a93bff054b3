// How much memory the process holds through operator new.
#ifndef TESTS_SUPPORT_ALLOCATED_BYTES_H
#define TESTS_SUPPORT_ALLOCATED_BYTES_H

#include <cstddef>

namespace test_support {

/// The bytes that are allocated now, the allocator's own word per block included. The library's
/// allocations count as well, since the program's operator new is everybody's.
std::size_t AllocatedBytes();
/// How many blocks that are.
std::size_t AllocatedBlocks();

}  // namespace test_support

#endif
