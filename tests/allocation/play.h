// A scenario under an allocator that says no, and what is left of it when memory is back.
#ifndef TESTS_ALLOCATION_PLAY_H
#define TESTS_ALLOCATION_PLAY_H

#include <string>
#include <vector>

#include "tests/scenarios/scenario.h"
#include "tests/support/failing_new.h"

namespace allocation {

struct Refusal {
  unsigned int first = 0;  // 0: everything is granted
  test_support::FailingNew::Extent extent = test_support::FailingNew::ONCE;
};

struct Outcome {
  unsigned int requests = 0;        // allocations asked for while some were refused
  std::vector<std::string> places;  // where they were refused (FailingNew::Places)
  std::vector<std::string> alarms;  // the messages about missing memory, with their levels
  std::string afterwards;  // the scenario once more, when memory is back and all is repaired
  std::size_t blocks = 0;  // held in the end and not before
  std::string failure;     // why there is nothing of the above
};

/// Plays the scenario in a process of its own: from the device's start to the end under the refusal;
/// then with memory, so that what was lost is asked for again; then everything is taken away; then
/// twice more, which is what `afterwards` tells. The caller must not have touched the library.
Outcome Play(const scenarios::Scenario& scenario, const Refusal& refusal);

}  // namespace allocation

#endif
