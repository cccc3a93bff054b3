// Every allocation that may fail is made to: for each scenario the n-th for every n, once and from then
// on. Whatever is lost by that, it is not the process, not a neighbour, and not the future: with memory
// back the scenario comes out as if nothing had happened, and holds not a block more.
//
// VANTACORE_RANDOM_SCALE below 100 takes that percentage of the n of each scenario, others each time.
// VANTACORE_ALLOCATION_LOG names a file to which every run is written: sites.py judges from it which
// messages came from which place, and that no place was forgotten.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/allocation/play.h"
#include "tests/models/random_run.h"
#include "tests/scenarios/readers.h"

namespace {

using allocation::Outcome;
using allocation::Refusal;
using test_support::FailingNew;

// Folders whose documents are read by other means than the library's have no way back.
bool IsWhole(const scenarios::Scenario& scenario) {
  for (const scenarios::Step& step : scenario.steps) {
    if (scenarios::IsReadByOtherMeans(step.name)) return false;
  }
  return true;
}

std::vector<std::filesystem::path> Folders() {
  std::vector<std::filesystem::path> folders;
  for (const std::filesystem::path& folder : scenarios::Folders()) {
    if (IsWhole(scenarios::Load(folder))) folders.push_back(folder);
  }
  return folders;
}

// The request itself and the texts in it.
constexpr std::size_t MOST_BLOCKS_OF_A_REQUEST = 3;

void Write(const std::string& scenario, const Refusal& refusal, const Outcome& outcome,
           std::size_t left) {
  const char* file = std::getenv("VANTACORE_ALLOCATION_LOG");
  if (file == nullptr) return;
  std::ofstream log(file, std::ios::app);
  log << "run " << scenario << " " << refusal.first << " "
      << (refusal.extent == FailingNew::ONCE ? "once" : "from then on") << "\n";
  for (const std::string& place : outcome.places) log << "place " << place << "\n";
  for (const std::string& alarm : outcome.alarms) log << "alarm " << alarm << "\n";
  log << "left " << left << "\n";
}

class AllocationSweep : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(AllocationSweep, LeavesNoTrace) {
  const scenarios::Scenario scenario = scenarios::Load(GetParam());
  const std::string name = GetParam().filename().string();
  const Outcome granted = allocation::Play(scenario, {});
  ASSERT_EQ(granted.failure, "");
  ASSERT_EQ(granted.alarms.size(), 0u);
  ASSERT_GT(granted.requests, 0u);
  test_models::Random random;
  unsigned int runs = 0;
  for (unsigned int n = 1; n <= granted.requests; ++n) {
    for (const FailingNew::Extent extent : {FailingNew::ONCE, FailingNew::FROM_THEN_ON}) {
      if (test_models::Scaled(100) < 100 && !random.Percent(test_models::Scaled(100))) continue;
      SCOPED_TRACE(name + ": allocation " + std::to_string(n) +
                   (extent == FailingNew::ONCE ? "" : " and all that follow"));
      const Refusal refusal{n, extent};
      const Outcome refused = allocation::Play(scenario, refusal);
      ++runs;
      EXPECT_EQ(refused.failure, "");
      EXPECT_GE(refused.places.size(), 1u);
      EXPECT_TRUE(extent != FailingNew::ONCE || refused.places.size() == 1);
      EXPECT_LE(refused.alarms.size(), refused.places.size());
      EXPECT_EQ(refused.afterwards, granted.afterwards);
      // A request without a row to wait in is given up and not destroyed; nothing else may be left.
      EXPECT_GE(refused.blocks, granted.blocks);
      EXPECT_LE(refused.blocks, granted.blocks + MOST_BLOCKS_OF_A_REQUEST * refused.places.size());
      Write(name, refusal, refused, refused.blocks - granted.blocks);
      if (HasFailure()) return;
    }
  }
  std::printf("%u runs of %u allocations\n", runs, granted.requests);
}

INSTANTIATE_TEST_SUITE_P(Folder, AllocationSweep, testing::ValuesIn(Folders()), scenarios::NameOf);

}  // namespace
