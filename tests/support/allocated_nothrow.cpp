// The nothrow forms that go with allocated_bytes.cpp, apart from it: a test that also makes
// allocations fail has those of failing_new.cpp instead.
#include <new>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
