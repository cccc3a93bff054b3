#include "tests/support/allocated_bytes.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// The thread pool allocates at the same time.
std::atomic<std::size_t> g_bytes{0};
std::atomic<std::size_t> g_blocks{0};

std::size_t SizeOf(void* memory) { return malloc_usable_size(memory) + sizeof(std::size_t); }

void* Allocate(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory != nullptr) {
    g_bytes += SizeOf(memory);
    ++g_blocks;
  }
  return memory;
}

void Release(void* memory) {
  if (memory != nullptr) {
    g_bytes -= SizeOf(memory);
    --g_blocks;
    std::free(memory);
  }
}

}  // namespace

std::size_t test_support::AllocatedBytes() { return g_bytes; }
std::size_t test_support::AllocatedBlocks() { return g_blocks; }

void* operator new(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Release(memory); }
