// How much memory the process holds through operator new.
#ifndef BENCH_ALLOCATED_BYTES_H
#define BENCH_ALLOCATED_BYTES_H

#include <cstddef>

namespace bench {

/// The bytes that are allocated now, the allocator's own word per block included. The library's
/// allocations count as well, since the program's operator new is everybody's.
std::size_t AllocatedBytes();
/// How many blocks that are.
std::size_t AllocatedBlocks();

}  // namespace bench

#endif
