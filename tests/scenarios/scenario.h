// One scenario: a folder of numbered steps and what is expected of them.
#ifndef TESTS_SCENARIOS_SCENARIO_H
#define TESTS_SCENARIOS_SCENARIO_H

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "vantacore/dcl_config_object.h"

namespace test_support {
class Device;
}

namespace scenarios {

struct Step {
  std::string file;  // "10-vlans.json"
  std::string name;  // "vlans.json"
  std::string text;
};

struct Scenario {
  std::filesystem::path folder;
  unsigned long budget = 0;
  bool allMessages = false;
  std::vector<Step> steps;
  std::string expected;
};

/// The folders below tests/scenarios, in name order. Working directory: the project's root.
std::vector<std::filesystem::path> Folders();
/// The name of a folder's test.
std::string NameOf(const testing::TestParamInfo<std::filesystem::path>& folder);
/// Throws std::runtime_error with the file's name when something is missing or malformed.
Scenario Load(const std::filesystem::path& folder);
bool IsDocument(const Step& step);
/// What kind of document the name stands for.
Tarsel::DclConfigObject::OptionType TypeOf(const std::string& name);
/// Applies one step; what is read by other means than the library's own is written to `out`.
void ApplyStep(test_support::Device& device, const Step& step, std::ostream& out);
/// Applies all steps to a fresh device and writes down what came of them; `requests` counts the row
/// requests.
std::string Play(const Scenario& scenario, unsigned long& requests);

}  // namespace scenarios

#endif
