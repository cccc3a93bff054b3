#include "device/documents/vlan_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json_text.h"
#include "tests/support/reported_lines.h"

namespace {

using test_support::ParsedJson;
using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;

class CheckVlanDocument : public testing::Test {
 protected:
  bool Check(const std::string& json) {
    document = ParsedJson(json);
    return documents::CheckVlanDocument(document, "vlans.json", reported.report, vlans);
  }
  bool CheckEntries(const std::string& entries) {
    return Check(R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }

  ReportedLines reported;
  Json::Value document;
  documents::VlanIds vlans;
};

TEST_F(CheckVlanDocument, LeavesAGoodDocumentAlone) {
  const std::string text = R"({"a": {"vid": 10, "RTM": {"dead_rpm_timer": 60,
    "ADMIN_DISTANCE": {"ebgp": 200}}, "REDISTRIBUTION": {"bgp": false}, "STATIC_ROUTES": {},
    "RIPV2": {"enabled": true}}, "b": {"vid": 20}})";
  EXPECT_TRUE(Check(R"({"VLAN_CONFIGURATIONS": )" + text + "}"));
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_THAT(vlans, ElementsAre(10, 20));
  EXPECT_EQ(document["VLAN_CONFIGURATIONS"], ParsedJson(text));
}

TEST_F(CheckVlanDocument, TakesADocumentWithoutVlans) {
  for (const char* text : {"{}", R"({"VLAN_CONFIGURATIONS": null})",
                           R"({"VLAN_CONFIGURATIONS": {}})", R"({"VLAN_CONFIGURATIONS": []})"}) {
    EXPECT_TRUE(Check(text)) << text;
  }
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_THAT(vlans, IsEmpty());
}

TEST_F(CheckVlanDocument, RefusesAListThatIsNone) {
  EXPECT_FALSE(Check(R"({"VLAN_CONFIGURATIONS": 5})"));
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN_CONFIGURATIONS: expected an object of VLANs, found 5"));
}

TEST_F(CheckVlanDocument, TakesOutEntriesWithoutAVlanId) {
  EXPECT_TRUE(CheckEntries(R"("a": 5, "b": [1], "c": {"vid": "10"}, "d": {"x": 1},
    "e": {"vid": 3000000000}, "f": {"vid": 10}, "g": null, "h": {})"));
  EXPECT_THAT(
      reported.lines,
      ElementsAre("vlans.json: VLAN_CONFIGURATIONS.a: expected an object, found 5",
                  "vlans.json: VLAN_CONFIGURATIONS.b: expected an object, found an array",
                  "vlans.json: VLAN_CONFIGURATIONS.c.vid: expected a VLAN id, found \"10\"",
                  "vlans.json: VLAN_CONFIGURATIONS.d.vid: expected a VLAN id, found nothing",
                  "vlans.json: VLAN_CONFIGURATIONS.e.vid: expected a VLAN id, found 3000000000"));
  EXPECT_THAT(vlans, ElementsAre(10));
  EXPECT_EQ(document["VLAN_CONFIGURATIONS"], ParsedJson(R"({"f": {"vid": 10}})"));
}

TEST_F(CheckVlanDocument, NamesElementsOfAnArrayByIndex) {
  EXPECT_TRUE(Check(R"({"VLAN_CONFIGURATIONS": [{}, 5, {"vid": 10}]})"));
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN_CONFIGURATIONS[1]: expected an object, found 5"));
  EXPECT_THAT(vlans, ElementsAre(10));
  EXPECT_EQ(document["VLAN_CONFIGURATIONS"], ParsedJson(R"([{"vid": 10}])"));
}

TEST_F(CheckVlanDocument, CutsIdsLikeTheLibrary) {
  EXPECT_TRUE(CheckEntries(R"("a": {"vid": 65546}, "b": {"vid": -1})"));
  EXPECT_THAT(vlans, ElementsAre(10, 65535));
}

TEST_F(CheckVlanDocument, NamesAVlanThatStandsTwice) {
  EXPECT_TRUE(CheckEntries(R"("a": {"vid": 10}, "b": {"vid": 11}, "c": {"vid": 10})"));
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN_CONFIGURATIONS.c: VLAN 10 stands twice, also at "
                          "vlans.json: VLAN_CONFIGURATIONS.a; both are applied"));
}

TEST_F(CheckVlanDocument, NamesSettingsOfWrongTypes) {
  EXPECT_TRUE(CheckEntries(R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": "x",
    "ADMIN_DISTANCE": {"ebgp": -1, "ibgp": 20, "ripng": true}}, "REDISTRIBUTION": {"bgp": 1},
    "STATIC_ROUTES": "none", "STATIC_ROUTES6": []}, "b": {"vid": 11, "RTM": 3,
    "REDISTRIBUTION": []}, "c": {"vid": 12, "RTM": {"ADMIN_DISTANCE": 7}})"));
  const std::string at = "vlans.json: VLAN_CONFIGURATIONS.";
  const std::string number = "expected a whole number from 0 to 4294967295, found ";
  EXPECT_THAT(reported.lines,
              ElementsAre(at + "a.RTM.dead_rpm_timer: " + number + "\"x\"",
                          at + "a.RTM.ADMIN_DISTANCE.ripng: " + number + "true",
                          at + "a.RTM.ADMIN_DISTANCE.ebgp: " + number + "-1",
                          at + "a.REDISTRIBUTION.bgp: expected true or false, found 1",
                          at + "a.STATIC_ROUTES: expected an object of routes, found \"none\"",
                          at + "b.RTM: expected an object, found 3",
                          at + "b.REDISTRIBUTION: expected an object, found an array",
                          at + "c.RTM.ADMIN_DISTANCE: expected an object, found 7"));
  EXPECT_THAT(vlans, ElementsAre(10, 11, 12));
}

}  // namespace
