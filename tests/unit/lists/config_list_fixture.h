// A configuration list over the scripted objects, with a document to parse in one line.
#ifndef TESTS_UNIT_LISTS_CONFIG_LIST_FIXTURE_H
#define TESTS_UNIT_LISTS_CONFIG_LIST_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_objects.h"
#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace config_test {

using test_support::Node;

constexpr unsigned short VLAN = 12;
constexpr auto VLAN_OPTIONS = Tarsel::DclConfigObject::VLAN_OPTIONS;
constexpr auto REMOTE_OPTIONS = Tarsel::DclConfigObject::REMOTE_OPTIONS;

inline std::string Group(unsigned int id, const std::string& value, const std::string& more = "") {
  return R"({"Name": "TEST_12_)" + std::to_string(id) + R"(", "value": ")" + value + '"' + more +
         "}";
}

// {"LIST": [groups]}
inline std::string ListOf(const std::vector<std::string>& groups) {
  std::string json;
  for (const std::string& group : groups) {
    json += (json.empty() ? "" : ", ") + group;
  }
  return R"({"LIST": [)" + json + "]}";
}

class ConfigListTest : public testing::Test {
 protected:
  void Parse(const std::string& json, const char* source = "file",
             Tarsel::DclConfigObject::OptionType type = VLAN_OPTIONS) {
    const Node node(json);
    list.Parse(node, source, type);
  }
  // A list that has committed 1=a, 2=b, 3=c.
  void ParseThree() {
    Parse(ListOf({Group(1, "a"), Group(2, "b"), Group(3, "c")}));
    world.Take();
    trace.Take();
  }

  test_support::TraceCapture trace;
  World world;
  TestRouter router{VLAN};
  TestList list{&router, world};
};

}  // namespace config_test

#endif
