#include "tests/support/failing_new.h"

#include <cstddef>
#include <new>

namespace {

// Nothrow allocations until one is refused; 0 for none.
unsigned int countdown = 0;
bool failed = false;

}  // namespace

// Everything else is left to the ordinary form, so that memory checkers see pairs of new and delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (countdown != 0 && --countdown == 0) {
    failed = true;
    return nullptr;
  }
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace test_support {

FailingNew::FailingNew(unsigned int n) {
  countdown = n;
  failed = false;
}

FailingNew::~FailingNew() { countdown = 0; }

bool FailingNew::HasFailed() const { return failed; }

}  // namespace test_support
