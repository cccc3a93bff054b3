// Registers one test for each folder of scenarios.
#include <gtest/gtest.h>

#include "tests/scenarios/scenario.h"
#include "tests/support/rewriting.h"

namespace {

class ScenarioTest : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(ScenarioTest, ComesOutAsExpected) {
  const scenarios::Scenario scenario = scenarios::Load(GetParam());
  unsigned long requests = 0;
  const std::string outcome = scenarios::Play(scenario, requests);
  if (!test_support::Rewrite(GetParam() / "expected.txt", outcome)) {
    EXPECT_EQ(outcome, scenario.expected);
  }
  EXPECT_EQ(requests, scenario.budget) << "row requests against the budget of about.txt";
}

INSTANTIATE_TEST_SUITE_P(Folder, ScenarioTest, testing::ValuesIn(scenarios::Folders()),
                         scenarios::NameOf);

}  // namespace
