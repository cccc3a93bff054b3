#include "device/documents/vlan_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json_text.h"
#include "tests/unit/documents/reading.h"
#include "vantacore/dc_router_mgr.h"

namespace {

using documents_tests::ReadRemote;
using documents_tests::ReadVlans;
using documents_tests::WithEntries;
using documents_tests::WithMembers;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using ConfigRead = documents_tests::Read<documents::ConfigFile>;

std::string TextOf(const ConfigRead& read) {
  return documents_tests::TextOf(read.file.document.GetRootNode());
}

std::string TextOf(const std::string& json) {
  const Tarsel::Options document = test_support::Document(json);
  return documents_tests::TextOf(document.GetRootNode());
}

TEST(ReadVlanDocument, HandsAGoodDocumentOn) {
  const std::string rest = R"("vid": 10, "RTM": {"dead_rpm_timer": 60, "ADMIN_DISTANCE": {
    "ospfv2_internal": 1, "ospfv2_external": 2, "ospfv3_internal": 3, "ospfv3_external": 4,
    "ripv2": 5, "ripng": 4294967295, "ebgp": 200, "ibgp": 0}}, "REDISTRIBUTION": {"bgp": false},
    "RIPV2": {"enabled": true, "IF_LIST": [{"Name": "RIP_10_3", "cost": 2}]},
    "BGP": {"PEERS": {"u": {"Name": "BGP_10_1", "afi": 1, "address": "2001:db8::1", "as": 1}}})";
  const ConfigRead read = ReadVlans(R"({"$schema": "x", "x-by": {"a": [1, {}]},
    "VLAN_CONFIGURATIONS": {"a": {"x-note": "no", "STATIC_ROUTES": {"r": {"network": "10.9.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}, "STATIC_ROUTES6": [], )" +
                                    rest + R"(}, "b": {"vid": 20}}})");
  EXPECT_TRUE(read.isDocument);
  EXPECT_THAT(read.Lines(), IsEmpty());
  EXPECT_THAT(read.file.vlans, ElementsAre(10, 20));
  EXPECT_EQ(TextOf(read), TextOf((WithEntries("\"a\": {" + rest + R"(}, "b": {"vid": 20})"))));
  EXPECT_EQ(read.file.routes.Get().size(), 1u);
}

TEST(ReadVlanDocument, TakesAListWithoutVlans) {
  for (const char* list : {"{}", "[]"}) {
    const ConfigRead read = ReadVlans(std::string(R"({"VLAN_CONFIGURATIONS": )") + list + "}");
    EXPECT_TRUE(read.isDocument);
    EXPECT_THAT(read.Lines(), IsEmpty());
    EXPECT_EQ(TextOf(read), TextOf((std::string(R"({"VLAN_CONFIGURATIONS": )") + list + "}")));
  }
}

TEST(ReadVlanDocument, NeedsAListOfVlans) {
  for (const char* text :
       {"{}", R"({"VLAN_CONFIGURATIONS": null})", R"({"VLAN_CONFIGURATIONS": 5})",
        R"({"VLAN_CONFIGURATION": {}})", "[]", "5", "null", R"("text")"}) {
    const ConfigRead read = ReadVlans(text);
    EXPECT_FALSE(read.isDocument) << text;
    EXPECT_TRUE(read.file.findings.HasErrors()) << text;
    EXPECT_THAT(read.file.vlans, IsEmpty());
  }
}

TEST(ReadVlanDocument, LeavesOutEntriesWithoutAVlanId) {
  const ConfigRead read = ReadVlans(WithEntries(R"("a": 5,
"b": [1],
"c": {"vid": "10"},
"d": {"x": 1},
"e": {"vid": 3000000000},
"f": {"vid": 10},
"g": null,
"h": {})"));
  const std::string number = "expected a whole number from 0 to 32767, found ";
  EXPECT_TRUE(read.isDocument);
  EXPECT_THAT(
      read.Lines(),
      ElementsAre(
          "vlans.json:1:31: VLAN_CONFIGURATIONS.a: wrong kind of value, expected an object, found "
          "5",
          "vlans.json:2:6: VLAN_CONFIGURATIONS.b: wrong kind of value, expected an object, found "
          "an array",
          "vlans.json:3:14: VLAN_CONFIGURATIONS.c.vid: wrong kind of value, " + number + "\"10\"",
          "vlans.json:4:6: VLAN_CONFIGURATIONS.d.vid: a missing member, " + number + "nothing",
          "vlans.json:4:7: VLAN_CONFIGURATIONS.d.x: unknown member, expected \"vid\" or another "
          "known name, found \"x\"",
          "vlans.json:5:14: VLAN_CONFIGURATIONS.e.vid: out of range, " + number + "3000000000",
          "vlans.json:7:6: VLAN_CONFIGURATIONS.g: no value, expected an object, found null",
          "vlans.json:8:6: VLAN_CONFIGURATIONS.h.vid: a missing member, " + number + "nothing"));
  EXPECT_THAT(read.file.vlans, ElementsAre(10));
  EXPECT_EQ(TextOf(read), TextOf((WithEntries(R"("f": {"vid": 10})"))));
}

TEST(ReadVlanDocument, NamesElementsOfAnArrayByIndex) {
  const ConfigRead read = ReadVlans(R"({"VLAN_CONFIGURATIONS": [{}, 5, {"vid": 10}, null]})");
  EXPECT_THAT(read.Lines(),
              ElementsAre("vlans.json:1:26: VLAN_CONFIGURATIONS[0].vid: a missing member, expected "
                          "a whole number from 0 to 32767, found nothing",
                          "vlans.json:1:30: VLAN_CONFIGURATIONS[1]: wrong kind of value, expected "
                          "an object, found 5",
                          "vlans.json:1:46: VLAN_CONFIGURATIONS[3]: no value, expected an object, "
                          "found null"));
  EXPECT_THAT(read.file.vlans, ElementsAre(10));
  EXPECT_EQ(TextOf(read), TextOf((R"({"VLAN_CONFIGURATIONS": [{"vid": 10}]})")));
}

// The library would cut these to other VLANs.
TEST(ReadVlanDocument, TakesNoIdThatTheLibraryCuts) {
  const ConfigRead read = ReadVlans(WithEntries(
      R"("a": {"vid": 65546}, "b": {"vid": -1}, "c": {"vid": 32768}, "d": {"vid": 32767})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 3u);
  EXPECT_THAT(read.file.vlans, ElementsAre(32767));
}

TEST(ReadVlanDocument, NamesAVlanThatStandsTwice) {
  const ConfigRead read = ReadVlans(WithEntries(R"("a": {"vid": 10}, "b": {"vid": 11},
"c": {"vid": 10})"));
  EXPECT_THAT(read.Lines(),
              ElementsAre("vlans.json:2:14: VLAN_CONFIGURATIONS.c.vid: a VLAN that stands twice, "
                          "expected one entry, that of VLAN_CONFIGURATIONS.a, found another for "
                          "VLAN 10"));
}

TEST(ReadVlanDocument, NamesSettingsOfWrongTypes) {
  const ConfigRead read = ReadVlans(WithEntries(R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": "x",
"ADMIN_DISTANCE": {"ospfv2_internal": 1, "ospfv2_external": 1, "ospfv3_internal": 1,
"ospfv3_external": 1, "ripv2": 1, "ebgp": -1, "ibgp": 20, "ripng": true}},
"REDISTRIBUTION": {"bgp": 1},
"STATIC_ROUTES": "none", "STATIC_ROUTES6": []},
"b": {"vid": 11, "RTM": 3,
"REDISTRIBUTION": []},
"c": {"vid": 12, "RTM": {"ADMIN_DISTANCE": 7}})"));
  const std::string number = "expected a whole number from 0 to 4294967295, found ";
  const std::string kind = ": wrong kind of value, expected ";
  EXPECT_THAT(
      read.Lines(),
      testing::UnorderedElementsAre(
          "vlans.json:1:69: VLAN_CONFIGURATIONS.a.RTM.dead_rpm_timer: wrong kind of value, " +
              number + "\"x\"",
          "vlans.json:3:43: VLAN_CONFIGURATIONS.a.RTM.ADMIN_DISTANCE.ebgp: out of range, " +
              number + "-1",
          "vlans.json:3:68: VLAN_CONFIGURATIONS.a.RTM.ADMIN_DISTANCE.ripng: wrong kind of value, " +
              number + "true",
          "vlans.json:4:27: VLAN_CONFIGURATIONS.a.REDISTRIBUTION.bgp" + kind +
              "true or false, found 1",
          "vlans.json:5:18: VLAN_CONFIGURATIONS.a.STATIC_ROUTES" + kind +
              "an object or an array of objects, found \"none\"",
          "vlans.json:6:25: VLAN_CONFIGURATIONS.b.RTM" + kind + "an object, found 3",
          "vlans.json:7:19: VLAN_CONFIGURATIONS.b.REDISTRIBUTION" + kind +
              "an object that is not empty, found an array",
          "vlans.json:8:44: VLAN_CONFIGURATIONS.c.RTM.ADMIN_DISTANCE" + kind +
              "an object, found 7"))
      << "a distance that is wrong is not left out";
  EXPECT_THAT(read.file.vlans, ElementsAre(10, 11, 12));
}

TEST(ReadVlanDocument, TellsWhichProtocolsRun) {
  using Tarsel::DcRouterMgr;
  const ConfigRead read = ReadVlans(WithEntries(R"(
    "a": {"vid": 10, "BGP": {"enabled": true}, "OSPF": {"enabled": false}, "RIPV2": {"IF_LIST": []},
          "IGMP": {"IF_LIST": {}}},
    "b": {"vid": 11, "OSPFV3": {"IF_LIST": {}}, "RIPNG": {"IF_LIST": {}}, "OSPF": {"IF_LIST": {}}},
    "c": {"vid": 12, "RIPV2": {"enabled": 1}},
    "d": {"vid": 13})"));
  EXPECT_THAT(
      read.file.protocols,
      ElementsAre(Pair(10, 1u << DcRouterMgr::PROTOCOL_BGP | 1u << DcRouterMgr::PROTOCOL_RIPV2 |
                               1u << DcRouterMgr::PROTOCOL_IGMP),
                  Pair(11, 1u << DcRouterMgr::PROTOCOL_OSPFV3 | 1u << DcRouterMgr::PROTOCOL_RIPNG |
                               1u << DcRouterMgr::PROTOCOL_OSPFV2),
                  Pair(12, 0u), Pair(13, 0u)));
}

TEST(ReadVlanDocument, TellsWhichProtocolsARemoteDocumentHasMembersFor) {
  using Tarsel::DcRouterMgr;
  const auto read = ReadRemote(WithEntries(R"(
    "a": {"vid": 10, "BGP": {"enabled": true}, "OSPF": {"enabled": false}, "MLD": {"enabled": 1}},
    "b": {"vid": 11})"));
  EXPECT_THAT(read.file.protocols, ElementsAre(Pair(10, 1u << DcRouterMgr::PROTOCOL_BGP |
                                                            1u << DcRouterMgr::PROTOCOL_OSPFV2),
                                               Pair(11, 0u)));
}

TEST(ReadVlanDocument, ReadsRedistribution) {
  const ConfigRead read = ReadVlans(WithEntries(R"(
"a": {"vid": 10,
  "REDISTRIBUTION": {"static": false, "bgp": false, "ospf": true}},
"b": {"vid": 11}, "c": {"vid": 12, "REDISTRIBUTION": {"connected": false, "rip": false, "ospf": false}})"));
  ASSERT_EQ(read.file.profiles.size(), 2u);
  const documents::Profile& first = read.file.profiles.at(10);
  EXPECT_FALSE(first.sources.fromStatic);
  EXPECT_TRUE(first.sources.fromConnected);
  EXPECT_FALSE(first.sources.fromBgp);
  EXPECT_TRUE(first.sources.fromRip);
  EXPECT_TRUE(first.sources.fromOspf);
  EXPECT_EQ(first.origin.Text(), "vlans.json:3:21: VLAN_CONFIGURATIONS.a.REDISTRIBUTION");
  const documents::Profile& second = read.file.profiles.at(12);
  EXPECT_TRUE(second.sources.fromStatic);
  EXPECT_FALSE(second.sources.fromConnected);
  EXPECT_TRUE(second.sources.fromBgp);
  EXPECT_FALSE(second.sources.fromRip);
  EXPECT_FALSE(second.sources.fromOspf);
}

TEST(ReadVlanDocument, PlacesEntriesAndRows) {
  const ConfigRead read = ReadVlans(WithEntries(R"(
"b": {"vid": 11, "RIPV2": {"IF_LIST": [{"Name": "RIP_11_4"}]}},
"a": {"vid": 10, "IGMP": {"IF_LIST": {"e": {"version": 2,
  "Name": "IGMP_10_3"}}}, "BGP": {"PEERS": {"p": {"Name": "BGP_10_9", "as": 1, "address": "1.1.1.1"}}}})"));
  EXPECT_THAT(read.Lines(), IsEmpty());
  EXPECT_EQ(read.file.entries.at(11).Text(), "vlans.json:2:6: VLAN_CONFIGURATIONS.b");
  EXPECT_EQ(read.file.entries.at(10).Text(), "vlans.json:3:6: VLAN_CONFIGURATIONS.a");
  const documents::InterfaceRows& rows = read.file.interfaceRows;
  ASSERT_EQ(rows.Get().size(), 2u);
  EXPECT_EQ(rows.Get()[0].vlan, 11);
  EXPECT_EQ(rows.Get()[0].index, 4u);
  EXPECT_EQ(rows.PlaceOf(rows.Get()[0], "vlans.json").Text(),
            "vlans.json:2:49: VLAN_CONFIGURATIONS.b.RIPV2.IF_LIST[0].Name");
  EXPECT_EQ(rows.Get()[1].vlan, 10);
  EXPECT_EQ(rows.Get()[1].index, 3u);
  EXPECT_EQ(rows.PlaceOf(rows.Get()[1], "vlans.json").Text(),
            "vlans.json:4:11: VLAN_CONFIGURATIONS.a.IGMP.IF_LIST.e.Name");
}

TEST(ReadVlanDocument, LeavesOutTheRowWithAMistakeAlone) {
  const ConfigRead read = ReadVlans(WithMembers(R"("RIPV2": {"IF_LIST": {
    "a": {"Name": "RIP_10_3", "cost": 16}, "b": {"Name": "RIP_10_4"}, "c": {"cost": 3}}},
    "MLD": {"IF_LIST": [{"Name": "MLD_10_3", "GROUPS": [{"address": "::1"}, {"address": "ff02::9"}]}]})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 3u);
  EXPECT_EQ(TextOf(read), TextOf((WithMembers(R"("RIPV2": {"IF_LIST": {
    "b": {"Name": "RIP_10_4"}}}, "MLD": {"IF_LIST": [{"Name": "MLD_10_3", "GROUPS": [
    {"address": "ff02::9"}]}]})"))));
}

TEST(ReadVlanDocument, LeavesOutAProtocolWhoseOwnMemberIsWrong) {
  const ConfigRead read = ReadVlans(
      WithMembers(R"("RIPV2": {"enabled": "yes", "IF_LIST": []}, "RIPNG": {"IF_LIST": []})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 1u);
  EXPECT_EQ(TextOf(read), TextOf((WithMembers(R"("RIPNG": {"IF_LIST": []})"))));
}

TEST(ReadVlanDocument, TakesOfAMemberThatStandsTwiceTheFirstValue) {
  const ConfigRead read = ReadVlans(WithEntries(R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 1},
    "vid": 20, "RTM": {"dead_rpm_timer": 2}})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 2u);
  EXPECT_THAT(read.file.vlans, ElementsAre(10));
  EXPECT_EQ(TextOf(read),
            TextOf((WithEntries(R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 1}})"))));
}

TEST(ReadVlanDocument, TakesOfANameThatStandsTwiceTheFirstObject) {
  const ConfigRead read = ReadVlans(WithEntries(R"("a": {"vid": 10, "RIPV2": {"IF_LIST": {
    "r": {"Name": "RIP_10_3", "cost": 2}, "r": {"Name": "RIP_10_4"}, "s": {"Name": "RIP_10_5"}}}},
    "a": {"vid": 11, "STATIC_ROUTES": [{"network": "0.0.0.0", "netmask": "0.0.0.0",
    "gateway": "10.1.2.1"}]})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 2u);
  EXPECT_THAT(read.file.vlans, ElementsAre(10));
  EXPECT_THAT(read.file.routes.Get(), IsEmpty());
  EXPECT_EQ(TextOf(read), TextOf(WithEntries(R"("a": {"vid": 10, "RIPV2": {"IF_LIST": {
    "r": {"Name": "RIP_10_3", "cost": 2}, "s": {"Name": "RIP_10_5"}}}})")));
}

TEST(ReadVlanDocument, LeavesSettingsOutOfARemoteDocument) {
  const ConfigRead read = ReadRemote(WithMembers(
      R"("RTM": {"dead_rpm_timer": 1}, "REDISTRIBUTION": {"bgp": false}, "RIPV2": {"IF_LIST": []})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 2u);
  EXPECT_THAT(read.file.profiles, IsEmpty());
  EXPECT_EQ(TextOf(read), TextOf((WithMembers(R"("RIPV2": {"IF_LIST": []})"))));
}

// What is empty configures no redistribution; a flag that cannot be used does, as it was.
TEST(ReadVlanDocument, TakesNoProfileFromAnEmptyObject) {
  const ConfigRead read = ReadVlans(WithEntries(
      R"("a": {"vid": 10, "REDISTRIBUTION": {}}, "b": {"vid": 11, "REDISTRIBUTION": {"bgp": 0}})"));
  EXPECT_EQ(read.file.findings.CountErrors(), 2u);
  EXPECT_THAT(read.file.profiles, ElementsAre(Pair(11, testing::_)));
  EXPECT_TRUE(read.file.profiles.at(11).sources.fromBgp);
}

// A protocol's own flag that is called like one of REDISTRIBUTION is none of it.
TEST(ReadVlanDocument, KeepsTheFlagsOfObjectsApart) {
  static constexpr documents::Member MEMBERS[] = {documents::ENABLED, documents::Flag("bgp", true)};
  static constexpr documents::Object OBJECT = documents::ObjectWith("other", MEMBERS);
  static constexpr documents::Member PROTOCOLS[] = {documents::ObjectOf("OTHER", OBJECT)};
  const documents::VlanShapes shapes(documents::ProtocolsOf(PROTOCOLS));
  const ConfigRead read = ReadVlans(
      WithMembers(R"("OTHER": {"bgp": false}, "REDISTRIBUTION": {"rip": false})"), shapes);
  EXPECT_THAT(read.Lines(), IsEmpty());
  EXPECT_TRUE(read.file.profiles.at(10).sources.fromBgp);
  EXPECT_FALSE(read.file.profiles.at(10).sources.fromRip);
}

// ---- memory

std::string WithGroups(unsigned int count) {
  std::string groups = R"({"address": "ff02::1"})";
  std::string text = groups;
  while (--count > 0) {
    text += "," + groups;
  }
  return WithMembers(R"("MLD": {"IF_LIST": [{"Name": "MLD_10_3", "GROUPS": [)" + text + "]}]}");
}

TEST(ReadVlanDocument, TakesManySmallRows) {
  const ConfigRead read = ReadVlans(WithGroups(100000));
  EXPECT_THAT(read.Lines(), IsEmpty());
}

// Each takes some 250 bytes, of which a document may have 32 MiB and four times its size.
TEST(ReadVlanDocument, RefusesSmallRowsThatTakeTooMuchMemory) {
  const unsigned int count = 500000;
  const ConfigRead read = ReadVlans(WithGroups(count));
  EXPECT_THAT(
      read.Lines(),
      ElementsAre(testing::AllOf(
          testing::ContainsRegex("IF_LIST\\[0\\]\\.GROUPS\\[[0-9]+\\]: too much for the memory"),
          testing::HasSubstr("expected at most 75 MiB, found more"))));
}

// ---- protocols that nobody has declared

class UndeclaredProtocol : public testing::Test {
 protected:
  const documents::VlanShapes shapes{documents::Protocols{nullptr, 0}};
};

TEST_F(UndeclaredProtocol, IsHandedOnAsItIs) {
  const std::string text = WithMembers(
      R"("BGP": {"any": [1, -2, 2.5, "t", true, {"a": {"b": []}}], "enabled": true}, "MLD": {"a": 1})");
  const ConfigRead read = ReadVlans(text, shapes);
  EXPECT_EQ(TextOf(read), TextOf((text)));
  EXPECT_THAT(
      read.Lines(),
      ElementsAre("vlans.json:1:50: warning: VLAN_CONFIGURATIONS.v.BGP: nobody has looked "
                  "deeper, expected a protocol whose members are declared, found one without",
                  testing::HasSubstr("VLAN_CONFIGURATIONS.v.MLD: nobody")));
  EXPECT_THAT(read.file.protocols,
              ElementsAre(Pair(10, 1u << Tarsel::DcRouterMgr::PROTOCOL_BGP |
                                       1u << Tarsel::DcRouterMgr::PROTOCOL_MLD)));
}

TEST_F(UndeclaredProtocol, RunsUnlessItIsSwitchedOff) {
  const ConfigRead read = ReadVlans(
      WithMembers(R"("BGP": {"enabled": false}, "OSPF": {"enabled": 1}, "RIPV2": {"a": 1})"),
      shapes);
  EXPECT_THAT(read.file.protocols,
              ElementsAre(Pair(10, 1u << Tarsel::DcRouterMgr::PROTOCOL_RIPV2)));
}

TEST_F(UndeclaredProtocol, NeedsNoMembers) {
  const ConfigRead read = ReadVlans(WithMembers("\n\"BGP\": {}"), shapes);
  EXPECT_THAT(read.Lines(), ElementsAre(testing::StartsWith("vlans.json:2:8: warning: ")));
  EXPECT_THAT(read.file.protocols, ElementsAre(Pair(10, 0u))) << "to the library that is no member";
}

TEST_F(UndeclaredProtocol, IsLookedThroughForNullAndDoubledNames) {
  const ConfigRead read =
      ReadVlans(WithMembers(R"("BGP": {"a": null, "b": {"c": 1, "c": 2}})"), shapes);
  EXPECT_EQ(read.file.findings.CountWarnings(), 1u);
  EXPECT_THAT(
      read.Lines(),
      testing::IsSupersetOf(
          {std::string(
               "vlans.json:1:56: VLAN_CONFIGURATIONS.v.BGP.a: no value, expected one, found null"),
           std::string("vlans.json:1:76: VLAN_CONFIGURATIONS.v.BGP.b.c: a member that stands "
                       "twice, expected one, "
                       "found another \"c\"")}));
}

// ---- digests of entries

documents::Digest DigestOf(const std::string& entries, unsigned short vlan) {
  return ReadVlans(WithEntries(entries)).file.digests.at(vlan);
}

TEST(DigestsOfEntries, AreOfEveryEntryThatCounts) {
  const ConfigRead read =
      ReadVlans(WithEntries(R"("b": {"vid": 20}, "a": {"vid": 10}, "c": {"vid": 10}, "d": {})"));
  EXPECT_THAT(read.file.digests, ElementsAre(Pair(10, testing::_), Pair(20, testing::_)));
}

TEST(DigestsOfEntries, TellEntriesApart) {
  const std::string rest = R"(}, "b": {"vid": 11, "RTM": {"dead_rpm_timer": 1}})";
  const std::string one = R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 1})" + rest;
  const std::string two = R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 2})" + rest;
  EXPECT_EQ(DigestOf(one, 10), DigestOf(one, 10));
  EXPECT_NE(DigestOf(one, 10), DigestOf(two, 10));
  EXPECT_EQ(DigestOf(one, 11), DigestOf(two, 11));
  EXPECT_NE(DigestOf(one, 11), DigestOf(one + " ", 11));
  EXPECT_NE(DigestOf(one, 10), DigestOf(one, 11));
}

TEST(DigestsOfEntries, DoNotDependOnWhatComesBefore) {
  const std::string entry = R"("a": {"vid": 10})";
  EXPECT_EQ(DigestOf(entry, 10), DigestOf(R"("0": {"vid": 1}, )" + entry, 10));
  EXPECT_EQ(DigestOf(entry, 10), DigestOf(R"("0": {"vid": 99}, )" + entry, 10));
}

TEST(DigestsOfEntries, CoverRoutesAndRows) {
  const auto with = [](const std::string& metric, const std::string& as) {
    return R"("a": {"vid": 10, "BGP": {"PEERS": [{"Name": "BGP_10_1", "address": "1.2.3.4", "as": )" +
           as + R"(}]}, "STATIC_ROUTES6": [{"network": "::", "prefix": 0, "gateway": "fe80::1",
           "metric": )" +
           metric + "}]}";
  };
  EXPECT_NE(DigestOf(with("1", "1"), 10), DigestOf(with("2", "1"), 10));
  EXPECT_NE(DigestOf(with("1", "1"), 10), DigestOf(with("1", "2"), 10));
}

}  // namespace
