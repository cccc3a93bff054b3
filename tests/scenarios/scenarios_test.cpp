// Registers one test for each folder of scenarios.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>

#include "tests/scenarios/scenario.h"

namespace {

bool Rewriting() {
  const char* value = std::getenv("VANTACORE_REWRITE");
  return value != nullptr && std::string(value) == "1";
}

class ScenarioTest : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(ScenarioTest, ComesOutAsExpected) {
  const scenarios::Scenario scenario = scenarios::Load(GetParam());
  unsigned long requests = 0;
  const std::string outcome = scenarios::Play(scenario, requests);
  if (Rewriting()) {
    std::ofstream(GetParam() / "expected.txt", std::ios::binary) << outcome;
  } else {
    EXPECT_EQ(outcome, scenario.expected);
  }
  EXPECT_EQ(requests, scenario.budget) << "row requests against the budget of about.txt";
}

std::string NameOf(const testing::TestParamInfo<std::filesystem::path>& info) {
  std::string name = info.param.filename().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Folder, ScenarioTest, testing::ValuesIn(scenarios::Folders()), NameOf);

}  // namespace
