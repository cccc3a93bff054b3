#include "tests/support/failing_new.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

namespace {

using test_support::FailingNew;

struct Plan {
  bool active = false;
  unsigned int first = 0;
  FailingNew::Extent extent = FailingNew::ONCE;
  unsigned int requests = 0;
  std::vector<void*> refused;  // the return addresses
};

Plan& ThePlan() {
  static Plan plan;
  return plan;
}

bool Refuses(void* caller) {
  Plan& plan = ThePlan();
  if (!plan.active) {
    return false;
  }
  const unsigned int number = ++plan.requests;
  const bool refused =
      plan.first != 0 &&
      (number == plan.first || (number > plan.first && plan.extent == FailingNew::FROM_THEN_ON));
  if (refused) {
    plan.refused.push_back(caller);
  }
  return refused;
}

}  // namespace

// Everything else is left to the ordinary form, so that memory checkers see pairs of new and
// delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (Refuses(__builtin_return_address(0))) {
    return nullptr;
  }
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace test_support {

FailingNew::FailingNew(unsigned int n, Extent extent) { ThePlan() = {true, n, extent, 0, {}}; }

FailingNew::~FailingNew() { ThePlan() = {}; }

bool FailingNew::HasFailed() const { return !ThePlan().refused.empty(); }

unsigned int FailingNew::CountRequests() const { return ThePlan().requests; }

std::vector<std::string> FailingNew::Places() const {
  std::vector<std::string> places;
  for (void* caller : ThePlan().refused) {
    Dl_info info{};
    if (dladdr(caller, &info) == 0) {
      places.push_back("unknown 0");
      continue;
    }
    char offset[32];
    std::snprintf(offset, sizeof offset, " 0x%zx",
                  reinterpret_cast<std::uintptr_t>(caller) -
                      reinterpret_cast<std::uintptr_t>(info.dli_fbase) - 1);
    places.push_back(info.dli_fname + std::string(offset));
  }
  return places;
}

}  // namespace test_support
