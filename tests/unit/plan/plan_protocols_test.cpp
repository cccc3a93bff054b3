// What the plan says of protocols and their rows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Texts Vlans(const std::string& members) { return {{"vlans.json", WithMembers(members)}}; }

Texts With(Texts texts, const std::string& name, const std::string& text) {
  texts[name] = text;
  return texts;
}

Texts Peers(const std::string& peers) { return Vlans(R"("BGP": {"PEERS": [)" + peers + "]}"); }

std::string Peer(unsigned int number, unsigned int as) {
  return R"({"Name": "BGP_10_)" + std::to_string(number) + R"(", "address": "10.0.0.1", "as": )" +
         std::to_string(as) + "}";
}

const char NOTHING[] = R"("x-note": 1)";

TEST(PlanOfProtocols, TellsWhichStartAndStop) {
  EXPECT_THAT(ListAll(Vlans(R"("RIPV2": {"enabled": true})"), Vlans(R"("MLD": {"enabled": true})")),
              ElementsAre("VLAN 10", "  - RIPV2", "  + MLD (vlans.json: VLAN_CONFIGURATIONS.v.MLD)",
                          "1 protocol added, 1 removed; 0 requests"));
  EXPECT_THAT(ListAll(Vlans(NOTHING), Vlans(R"("OSPF": {"enabled": false})")),
              ElementsAre("no change"));
}

TEST(PlanOfProtocols, TellsWhatTheirOwnMembersSay) {
  const Texts all = Vlans(R"("OSPFV3": {"enabled": true})");
  const Texts some = Vlans(R"("OSPFV3": {"enabled": true, "INTERFACES": [
      {"Name": "OSPF_10_4", "enabled": true}, {"Name": "any_10_3", "enabled": false}]})");
  EXPECT_THAT(ListAll(all, some),
              ElementsAre("VLAN 10",
                          "  ~ OSPFV3: INTERFACES 3 false, was true (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.OSPFV3)",
                          "1 protocol changed; 0 requests"));
  EXPECT_THAT(ListAll(some, all),
              ElementsAre("VLAN 10",
                          "  ~ OSPFV3: INTERFACES 3 true, was false (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.OSPFV3)",
                          "1 protocol changed; 0 requests"));
  EXPECT_THAT(ListAll(Vlans(NOTHING), some),
              ElementsAre("VLAN 10",
                          "  + OSPFV3: INTERFACES 3 false (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.OSPFV3)",
                          "1 protocol added; 0 requests"));
}

// ---- rows

TEST(PlanOfRows, TellsWhichComeGoAndChange) {
  EXPECT_THAT(ListAll(Peers(Peer(1, 5) + "," + Peer(2, 5) + "," + Peer(3, 5)),
                      Peers(Peer(2, 6) + "," + Peer(3, 5) + "," + Peer(4, 7))),
              ElementsAre("VLAN 10", "  - BGP PEERS BGP_10_1",
                          "  ~ BGP PEERS BGP_10_2: as 6, was 5 (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.BGP.PEERS[0])",
                          "  + BGP PEERS BGP_10_4: address 10.0.0.1, as 7 (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.BGP.PEERS[2])",
                          "1 protocol row added, 1 removed, 1 changed; 3 requests"));
}

TEST(PlanOfRows, AreTheSameInOtherWords) {
  EXPECT_THAT(
      ListAll(Vlans(R"("RIPV2": {"IF_LIST": {"e": {"Name": "RIP_10_3"}}},
                       "OSPF": {"IF_LIST": [{"Name": "OSPF_10_3", "area": "0.0.0.0"}],
                                "AREA_LIST": [{"Name": "OSPF_10_1", "type": "stub"}]},
                       "IGMP": {"IF_LIST": [{"Name": "IGMP_10_3", "GROUPS": [
                           {"address": "239.0.0.1"}, {"address": "239.0.0.2"}]}]})"),
              Vlans(R"("RIPV2": {"IF_LIST": [{"Name": "ripv2_10_03", "cost": 1, "passive": false,
                                              "enabled": true}]},
                       "OSPF": {"IF_LIST": [{"Name": "OSPF_10_3_0_0", "cost": 10}],
                                "AREA_LIST": [{"Name": "OSPF_10_1", "type": "STUB"}]},
                       "IGMP": {"IF_LIST": [{"Name": "IGMP_10_3", "version": 3, "GROUPS": {
                           "a": {"address": "239.0.0.2"}, "b": {"address": "239.0.0.1"}}}]})")),
      ElementsAre("no change"));
}

TEST(PlanOfRows, TellsWhatIsNotTheDefault) {
  EXPECT_THAT(
      ListAll(Vlans(NOTHING),
              Vlans(R"("OSPF": {"IF_LIST": {"e": {"Name": "OSPF_10_3", "priority": 1, "cost": 11,
                                                  "passive": true, "area": "0.0.0.1"}}})")),
      ElementsAre("VLAN 10", "  + OSPF (vlans.json: VLAN_CONFIGURATIONS.v.OSPF)",
                  "  + OSPF IF_LIST OSPF_10_3: area 0.0.0.1, cost 11, passive true "
                  "(vlans.json:1:78)",
                  "1 protocol added, 1 protocol row added; 1 request"));
}

TEST(PlanOfRows, TellsValuesOfEveryKind) {
  const Texts from = Vlans(R"("OSPF": {"AREA_LIST": [{"Name": "OSPF_10_1", "type": "nssa"}]},
      "MLD": {"IF_LIST": [{"Name": "MLD_10_3", "GROUPS": [{"address": "ff0e:0::1"}]}]},
      "BGP": {"PEERS": [{"Name": "BGP_10_1", "afi": 1, "address": "2001:DB8:0::1", "as": 1,
                         "description": "one"}]})");
  const Texts to = Vlans(R"("OSPF": {"AREA_LIST": [{"Name": "OSPF_10_1"}]},
      "MLD": {"IF_LIST": [{"Name": "MLD_10_3"}]},
      "BGP": {"PEERS": [{"Name": "BGP_10_1", "afi": 1, "address": "2001:db8::2", "as": 1,
                         "enabled": false}]})");
  EXPECT_THAT(
      ListAll(from, to),
      ElementsAre("VLAN 10",
                  "  ~ BGP PEERS BGP_10_1 afi 1: address 2001:db8::2, was 2001:db8::1; description "
                  "\"\", was \"one\"; enabled false, was true (vlans.json: "
                  "VLAN_CONFIGURATIONS.v.BGP.PEERS[0])",
                  "  ~ OSPF AREA_LIST OSPF_10_1: type normal, was nssa (vlans.json: "
                  "VLAN_CONFIGURATIONS.v.OSPF.AREA_LIST[0])",
                  "  ~ MLD IF_LIST MLD_10_3: GROUPS none, was ff0e::1 (vlans.json:2:36)",
                  "3 protocol rows changed; 3 requests"));
}

TEST(PlanOfRows, HaveTheFamilyInTheirKey) {
  const auto peer = [](const char* afi, const char* address) {
    return Peers(std::string(R"({"Name": "BGP_10_1", "as": 1, "afi": )") + afi +
                 R"(, "address": ")" + address + "\"}");
  };
  EXPECT_THAT(ListAll(peer("0", "10.0.0.1"), peer("1", "2001:db8::1")),
              ElementsAre("VLAN 10", "  - BGP PEERS BGP_10_1",
                          "  + BGP PEERS BGP_10_1 afi 1: address 2001:db8::1, as 1 (vlans.json: "
                          "VLAN_CONFIGURATIONS.v.BGP.PEERS[0])",
                          "1 protocol row added, 1 removed; 2 requests"));
}

TEST(PlanOfRows, HaveAllNumbersInTheirKey) {
  const auto row = [](const char* name) {
    return Vlans(std::string(R"("OSPF": {"IF_LIST": [{"Name": ")") + name + "\"}]}");
  };
  EXPECT_THAT(ListAll(row("OSPF_10_3"), row("OSPF_10_3_1")),
              ElementsAre("VLAN 10", "  - OSPF IF_LIST OSPF_10_3",
                          "  + OSPF IF_LIST OSPF_10_3_1 (vlans.json:1:73)",
                          "1 protocol row added, 1 removed; 2 requests"));
  EXPECT_THAT(ListAll(row("OSPF_10_3_0_1"), row("OSPF_10_3_0_2")), SizeIs(4));
}

TEST(PlanOfRows, TellsListsApart) {
  EXPECT_THAT(
      ListAll(Vlans(R"("OSPF": {"IF_LIST": [{"Name": "OSPF_10_3"}]})"),
              Vlans(R"("OSPF": {"AREA_LIST": [{"Name": "OSPF_10_3"}]})")),
      ElementsAre("VLAN 10",
                  "  + OSPF AREA_LIST OSPF_10_3 (vlans.json: "
                  "VLAN_CONFIGURATIONS.v.OSPF.AREA_LIST[0])",
                  "  - OSPF IF_LIST OSPF_10_3", "1 protocol row added, 1 removed; 2 requests"));
}

// The stack drops them with the instance.
TEST(PlanOfRows, GoWithTheirVlanWithoutARequest) {
  EXPECT_THAT(
      ListAll(Peers(Peer(1, 5)), {}),
      ElementsAre("VLAN 10", "  - VLAN", "  - BGP", "  - BGP PEERS BGP_10_1",
                  "1 VLAN removed, 1 protocol removed, 1 protocol row removed; 2 requests"));
}

TEST(PlanOfRows, GoWithTheirProtocol) {
  EXPECT_THAT(ListAll(Peers(Peer(1, 5)),
                      Vlans(R"("BGP": {"enabled": false, "PEERS": [)" + Peer(1, 5) + "]}")),
              ElementsAre("VLAN 10", "  - BGP", "  - BGP PEERS BGP_10_1",
                          "1 protocol removed, 1 protocol row removed; 1 request"));
}

TEST(PlanOfRows, TellsWhereThoseOfInterfacesAre) {
  const auto with = [](const std::string& cost) {
    return Texts{{"vlans.json",
                  WithEntries("\"a\": {\"vid\": 11, \"RIPV2\": {\"IF_LIST\": [\n"
                              "{\"Name\": \"RIP_11_1\"},\n{\"Name\": \"RIP_11_2\", \"cost\": " +
                              cost +
                              "}]}},\n"
                              "\"b\": {\"vid\": 10, \"RIPNG\": {\"IF_LIST\": {\n"
                              "\"x\": {\"Name\": \"RIP_10_1\", \"cost\": " +
                              cost +
                              "}}},\n\"RIPV2\": {\"IF_LIST\": {\"x\":\n {\"Name\": \"RIP_10_1\", "
                              "\"cost\": " +
                              cost + "}}}}")}};
  };
  EXPECT_THAT(ListAll(with("2"), with("3")),
              ElementsAre("VLAN 10", "  ~ RIPV2 IF_LIST RIP_10_1: cost 3, was 2 (vlans.json:7:11)",
                          "  ~ RIPNG IF_LIST RIP_10_1: cost 3, was 2 (vlans.json:5:15)", "VLAN 11",
                          "  ~ RIPV2 IF_LIST RIP_11_2: cost 3, was 2 (vlans.json:3:10)",
                          "3 protocol rows changed; 3 requests"));
}

// ---- documents together

TEST(PlanOfRows, AreThoseOfTheLastDocument) {
  const Texts one = Peers(Peer(1, 5));
  const std::string six = WithMembers(R"("BGP": {"PEERS": {"p": )" + Peer(1, 6) + "}}");
  const Texts two = With(one, "remote/b.json", six);
  EXPECT_THAT(ListAll(one, two), ElementsAre("VLAN 10",
                                             "  ~ BGP PEERS BGP_10_1: as 6, was 5 (remote/b.json: "
                                             "VLAN_CONFIGURATIONS.v.BGP.PEERS.p)",
                                             "1 protocol row changed; 1 request"));
  EXPECT_THAT(ListAll(two, With(two, "remote/a.json",
                                WithMembers(R"("BGP": {"PEERS": [)" + Peer(1, 7) + "]}"))),
              ElementsAre("no change"));
}

TEST(PlanOfRows, NeedAProtocolThatTheVlanDocumentEnables) {
  const std::string remote = WithMembers(R"("BGP": {"PEERS": [)" + Peer(1, 6) + "]}");
  const std::string disabled =
      WithMembers(R"("BGP": {"enabled": false, "PEERS": [)" + Peer(2, 6) + "]}");
  EXPECT_THAT(ListAll(Vlans(NOTHING), With(Vlans(NOTHING), "remote/a.json", remote)),
              ElementsAre("no change"));
  EXPECT_THAT(ListAll(Vlans(R"("BGP": {"enabled": true})"),
                      With(With(Vlans(R"("BGP": {"enabled": true})"), "remote/a.json", remote),
                           "remote/b.json", disabled)),
              ElementsAre("VLAN 10",
                          "  + BGP PEERS BGP_10_1: address 10.0.0.1, as 6 (remote/a.json: "
                          "VLAN_CONFIGURATIONS.v.BGP.PEERS[0])",
                          "  + BGP PEERS BGP_10_2: address 10.0.0.1, as 6 (remote/b.json: "
                          "VLAN_CONFIGURATIONS.v.BGP.PEERS[0])",
                          "2 protocol rows added; 2 requests"));
}

// ---- losses

TEST(LossesOfRows, AreAllRowsOfAProtocolThatHasMoreThanOne) {
  const auto losses = [](const Texts& from, const Texts& to) {
    return plan::MakePlan(IntentOf(from), IntentOf(to)).losses;
  };
  const Texts two = Peers(Peer(1, 5) + "," + Peer(2, 5));
  ASSERT_THAT(losses(two, Vlans(NOTHING)), SizeIs(1));
  EXPECT_THAT(losses(two, Vlans(NOTHING))[0].allRowsOf, ElementsAre("BGP"));
  EXPECT_FALSE(losses(two, Vlans(NOTHING))[0].isLeaving);
  ASSERT_THAT(losses(two, {}), SizeIs(1));
  EXPECT_THAT(losses(two, {})[0].allRowsOf, ElementsAre("BGP"));
  EXPECT_THAT(losses(two, Peers(Peer(2, 5))), IsEmpty());
  EXPECT_THAT(losses(two, Peers(Peer(3, 5))), IsEmpty());
  EXPECT_THAT(losses(Peers(Peer(1, 5)), Vlans(NOTHING)), IsEmpty());
}

}  // namespace
