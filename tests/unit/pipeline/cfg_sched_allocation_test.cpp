// What can be seen of the scheduler while it asks for memory: a handler of the host's that is
// called then, or a caller that catches std::bad_alloc, must find it whole.
#include <cstdlib>
#include <new>

#include "scheduler_fixture.h"

namespace {

void (*onAllocation)() = nullptr;

// A handler is not called for what it allocates itself.
void CallHandler() {
  if (onAllocation != nullptr) {
    void (*const handler)() = onAllocation;
    onAllocation = nullptr;
    handler();
    onAllocation = handler;
  }
}

}  // namespace

void* operator new(std::size_t size) {
  CallHandler();
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace Tarsel {
namespace {

using testing::ElementsAre;

class CfgSchedAllocation : public SchedulerFixture {};

// The first allocations of an insertion are those of the bucket and of its entry in the table.
TEST_F(CfgSchedAllocation, ABucketStandsBeforeItIsEnteredInTheTable) {
  static CfgSched* scheduler;
  static std::vector<std::string> prints;
  scheduler = &sched;
  test_models::ScriptedItem* const item = New(1, 1);
  onAllocation = [] {
    test_models::TextConsole console;
    scheduler->Print(&console);
    scheduler->PrintSummary(&console);
    prints.push_back(console.text);
  };
  sched.Insert(KEY, item);
  onAllocation = nullptr;
  ASSERT_LE(3U, prints.size());
  prints.resize(3);
  EXPECT_THAT(prints, ElementsAre("Pending Item Buckets: 0\n", "Pending Item Buckets: 0\n",
                                  "Pending Item Buckets: 1\n"));
}

}  // namespace
}  // namespace Tarsel
