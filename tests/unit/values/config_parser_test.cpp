// The walk over a document's VLANs, and group names.
#include "vantacore/config_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace {

using test_support::Document;
using test_support::Node;
using test_support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Tarsel;

const char NO_VID[] = "-:Failed to get VLAN id: \n";
const char INVALID[] = "-:This option item is invalid\n";

// Writes down its calls as "vlan:tag", where the tag is the group's member "tag" and "null" stands
// for a null node; answers what it was told to, the last answer again and again.
class RecordingParser : public ConfigParser {
 public:
  RecordingParser() = default;
  explicit RecordingParser(const char* name) : ConfigParser(name) {}

  int ParseVlanOptions(unsigned short vlan, const OptionsNode& node) override {
    string tag;
    node.GetAsString(tag, "tag");
    calls.push_back(std::to_string(vlan) + ":" + (node.IsNull() ? "null" : tag.c_str()));
    return answers[std::min(calls.size(), answers.size()) - 1];
  }

  std::vector<std::string> calls;
  std::vector<int> answers = {1};
};

static_assert(std::is_abstract_v<ConfigParser>);
static_assert(sizeof(ConfigParser) == 2 * sizeof(void*), "a virtual table and the borrowed name");

TEST(ConfigParserTest, CallsTheHandlerForEachVlanWithItsGroup) {
  RecordingParser parser;
  const Options document = Document(R"({"VLAN_CONFIGURATIONS": {
      "a": {"vid": 10, "IGMP": {"tag": "x"}}, "b": {"vid": 20, "IGMP": {"tag": "y"}}}})");
  EXPECT_EQ(parser.ParseOptions("IGMP", document), 1);
  EXPECT_THAT(parser.calls, ElementsAre("10:x", "20:y"));
}

TEST(ConfigParserTest, CallsTheHandlerWithANullNodeWhenTheGroupIsMissing) {
  RecordingParser parser;
  const Options document = Document(R"({"VLAN_CONFIGURATIONS": {
      "a": {"vid": 10}, "b": {"vid": 20, "IGMP": null}, "c": {"vid": 30, "IGMP": {}}}})");
  EXPECT_EQ(parser.ParseOptions("IGMP", document), 1);
  EXPECT_THAT(parser.calls, ElementsAre("10:null", "20:null", "30:"));
}

TEST(ConfigParserTest, VisitsMembersInKeyOrderAndElementsInIndexOrder) {
  RecordingParser members;
  members.ParseOptions("G", Document(R"({"VLAN_CONFIGURATIONS": {
      "z": {"vid": 1}, "b": {"vid": 2}, "aa": {"vid": 3}, "a10": {"vid": 4}, "a9": {"vid": 5},
      "B": {"vid": 6}}})"));
  EXPECT_THAT(members.calls,
              ElementsAre("6:null", "4:null", "5:null", "3:null", "2:null", "1:null"));
  RecordingParser elements;
  elements.ParseOptions(
      "G", Document(R"({"VLAN_CONFIGURATIONS": [{"vid": 3}, {"vid": 1}, {"vid": 2}]})"));
  EXPECT_THAT(elements.calls, ElementsAre("3:null", "1:null", "2:null"));
}

TEST(ConfigParserTest, ReturnsTheLastStatus) {
  RecordingParser parser;
  parser.answers = {1, 7, 0};
  const Options three =
      Document(R"({"VLAN_CONFIGURATIONS": [{"vid": 1}, {"vid": 2}, {"vid": 3}]})");
  EXPECT_EQ(parser.ParseOptions("G", three), 0);
  EXPECT_EQ(parser.calls.size(), 3u);
  RecordingParser other;
  other.answers = {0, 7};
  EXPECT_EQ(other.ParseOptions(
                "G", Document(R"({"VLAN_CONFIGURATIONS": [{"vid": 1}, {"vid": 2}, {}, 5]})")),
            7);
}

TEST(ConfigParserTest, ReturnsZeroWhenNothingWasCalled) {
  TraceCapture trace;
  for (const char* json :
       {"null", "{}", "[]", "5", "\"text\"", "true", R"({"OTHER": [{"vid": 1}]})",
        R"({"VLAN_CONFIGURATIONS": null})", R"({"VLAN_CONFIGURATIONS": {}})",
        R"({"VLAN_CONFIGURATIONS": []})", R"({"VLAN_CONFIGURATIONS": 5})",
        R"({"VLAN_CONFIGURATIONS": "text"})", R"([{"VLAN_CONFIGURATIONS": [{"vid": 1}]}])"}) {
    RecordingParser parser;
    EXPECT_EQ(parser.ParseOptions("G", Document(json)), 0) << json;
    EXPECT_THAT(parser.calls, IsEmpty()) << json;
  }
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(ConfigParserTest, NullGroupReturnsZeroAtOnce) {
  TraceCapture trace;
  RecordingParser parser;
  EXPECT_EQ(
      parser.ParseOptions(nullptr, Document(R"({"VLAN_CONFIGURATIONS": [{"vid": 1}, null]})")), 0);
  EXPECT_THAT(parser.calls, IsEmpty());
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(ConfigParserTest, PassesOverEmptyElementsWithAMessage) {
  TraceCapture trace;
  RecordingParser parser;
  parser.ParseOptions("G", Document(R"({"VLAN_CONFIGURATIONS": [null, {}, [], {"vid": 4}]})"));
  EXPECT_THAT(parser.calls, ElementsAre("4:null"));
  EXPECT_THAT(trace.Lines(), ElementsAre(INVALID, INVALID, INVALID));
}

TEST(ConfigParserTest, PassesOverElementsWithoutAVidAndGoesOn) {
  for (const char* element :
       {"5", "\"text\"", "[1]", "true", R"({"G": {}})", R"({"vid": null})", R"({"vid": "10"})",
        R"({"vid": {}})", R"({"vid": [10]})", R"({"vid": 2147483648})", R"({"vid": -2147483649})",
        R"({"vid": 1e30})", R"({"vid": 1.5})", R"({"vid": true})", R"({"VID": 10})"}) {
    TraceCapture trace;
    RecordingParser parser;
    const std::string list = std::string(element) + R"(, {"vid": 4})";
    EXPECT_EQ(parser.ParseOptions("G", Document(R"({"VLAN_CONFIGURATIONS": [)" + list + "]}")), 1);
    EXPECT_THAT(parser.calls, ElementsAre("4:null")) << element;
    // The message shows the text of a node that has not failed, which is empty.
    EXPECT_THAT(trace.Lines(), ElementsAre(NO_VID)) << element;
  }
}

TEST(ConfigParserTest, CutsTheVidTo16Bits) {
  RecordingParser parser;
  parser.ParseOptions("G", Document(R"({"VLAN_CONFIGURATIONS": [{"vid": 65546}, {"vid": -1},
      {"vid": 0}, {"vid": 32778}, {"vid": 2147483647}, {"vid": -2147483648}]})"));
  EXPECT_THAT(parser.calls,
              ElementsAre("10:null", "65535:null", "0:null", "32778:null", "65535:null", "0:null"));
}

TEST(ConfigParserTest, CallsTheHandlerForEachElementOfTheSameVlan) {
  RecordingParser parser;
  parser.ParseOptions("G", Document(R"({"VLAN_CONFIGURATIONS": [
      {"vid": 10, "G": {"tag": "1"}}, {"vid": 10, "G": {"tag": "2"}}]})"));
  EXPECT_THAT(parser.calls, ElementsAre("10:1", "10:2"));
}

TEST(ConfigParserTest, BorrowsItsName) {
  char name[] = "FIRST";
  RecordingParser parser(name);
  const Options document = Document(R"({"FIRST": [{"vid": 1}], "OTHER": [{"vid": 2}],
      "VLAN_CONFIGURATIONS": [{"vid": 3}]})");
  parser.ParseOptions("G", document);
  std::copy_n("OTHER", sizeof name, name);
  parser.ParseOptions("G", document);
  EXPECT_THAT(parser.calls, ElementsAre("1:null", "2:null"));
}

// ---- group names

struct NameCase {
  const char* prefix;
  const char* name;
  int result;
  unsigned short vlan;
};

void PrintTo(const NameCase& c, std::ostream* out) { *out << c.prefix << " / " << c.name; }

constexpr unsigned short DEFAULT = 999;

class GetVlanFromGroupTest : public testing::TestWithParam<NameCase> {};

TEST_P(GetVlanFromGroupTest, ReadsTheName) {
  Json::Value group;
  group["Name"] = GetParam().name;
  const Options document(group);
  unsigned short vlan = DEFAULT;
  EXPECT_EQ(ConfigParser::GetVlanFromGroup(GetParam().prefix, document.GetRootNode(), &vlan),
            GetParam().result);
  EXPECT_EQ(vlan, GetParam().vlan);
}

INSTANTIATE_TEST_SUITE_P(
    Names, GetVlanFromGroupTest,
    testing::Values(NameCase{"OSPF", "OSPF", 1, DEFAULT}, NameCase{"RIP", "RIP", 1, DEFAULT},
                    NameCase{"OSPF", "OSPF_12", 1, 12}, NameCase{"OSPF", "ospf:12", 1, 12},
                    NameCase{"ospf", "OSPF:12", 1, 12}, NameCase{"OSPF", "OSPF_12_area", 1, 12},
                    NameCase{"OSPF", "OSPF:12:area", 1, 12}, NameCase{"OSPF", "OSPF_12_", 1, 12},
                    NameCase{"RIP", "RIP_300", 1, 300}, NameCase{"RIP", "RIP_70000", 1, 4464},
                    NameCase{"RIP", "RIP_65536", 1, 0}, NameCase{"RIP", "RIP_-1", 1, 65535},
                    NameCase{"RIP", "RIP_4294967306", 1, 65535}, NameCase{"RIP", "RIP_", 1, 0},
                    NameCase{"RIP", "RIP:", 1, 0}, NameCase{"RIP", "RIP__5", 1, 0},
                    NameCase{"RIP", "RIP_:5", 1, 0}, NameCase{"RIP", "RIP_ 5", 1, 5},
                    NameCase{"RIP", "RIP_+5", 1, 5}, NameCase{"", "_5", 1, 5},
                    NameCase{"", "", 1, DEFAULT}, NameCase{"OSPF", "OSPFX", 0, DEFAULT},
                    NameCase{"OSPF", "OSPFv3_5", 0, DEFAULT},
                    NameCase{"OSPF", "OSPF_12x", 0, DEFAULT},
                    NameCase{"OSPF", "OSPF_x", 0, DEFAULT}, NameCase{"OSPF", "OSPF 12", 0, DEFAULT},
                    NameCase{"OSPF", "OSPF_12 ", 0, DEFAULT}, NameCase{"RIP", "RIP_ ", 0, DEFAULT},
                    NameCase{"OSPF", "OSP", 0, DEFAULT}, NameCase{"OSPF", "XOSPF_12", 0, DEFAULT},
                    NameCase{"OSPF", "", 0, DEFAULT}, NameCase{"OSPF", "BGP_12", 0, DEFAULT}));

TEST(GroupNameTest, AbsentOrUnreadableNameIsTheEmptyText) {
  for (const char* json : {"{}", "null", "5", "[]", R"({"Name": null})", R"({"Name": {}})",
                           R"({"Name": ["RIP_5"]})", R"({"name": "RIP_5"})"}) {
    const Node group(json);
    unsigned short vlan = DEFAULT;
    EXPECT_EQ(ConfigParser::GetVlanFromGroup("RIP", group, &vlan), 0) << json;
    EXPECT_EQ(ConfigParser::GetVlanFromGroup("", group, &vlan), 1) << json;
    EXPECT_EQ(vlan, DEFAULT) << json;
  }
}

TEST(GroupNameTest, NumberAsNameIsReadAsText) {
  const Node group(R"({"Name": 12})");
  unsigned short vlan = DEFAULT;
  EXPECT_EQ(ConfigParser::GetVlanFromGroup("12", group, &vlan), 1);
  EXPECT_EQ(vlan, DEFAULT);
}

TEST(GroupNameTest, NullPrefixMatchesNothing) {
  const Node group(R"({"Name": "RIP"})");
  unsigned short vlan = DEFAULT;
  EXPECT_EQ(ConfigParser::GetVlanFromGroup(nullptr, group, &vlan), 0);
  EXPECT_EQ(vlan, DEFAULT);
}

}  // namespace
