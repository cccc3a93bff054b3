// What the plan says of VLANs, their settings and their redistribution rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const char OTHER[] = R"("x-note": 1)";

TEST(PlanOfVlans, IsEmptyForTheSameDocuments) {
  const intent::Intent intent = IntentOf({{"vlans.json", WithMembers(OTHER)}});
  EXPECT_THAT(ListAll(intent, intent), ElementsAre("no change"));
  EXPECT_THAT(ListAll(intent::Intent(), intent::Intent()), ElementsAre("no change"));
  EXPECT_TRUE(plan::MakePlan(intent, intent).totals.IsEmpty());
}

TEST(PlanOfVlans, IsEmptyForTheSameInOtherWords) {
  EXPECT_THAT(ListAll({{"vlans.json", WithEntries(R"("a": {"vid": 10}, "b": {"vid": 11})")}},
                      {{"vlans.json", WithEntries("\"b\":{\"vid\":11},\n\"c\":{\"vid\":10}")}}),
              ElementsAre("no change"));
}

TEST(PlanOfVlans, TellsWhichComeAndGo) {
  EXPECT_THAT(
      ListAll({{"vlans.json", WithEntries(R"("a": {"vid": 11}, "b": {"vid": 12})")}},
              {{"vlans.json", WithEntries("\n\"b\": {\"vid\": 12}, \"c\": {\"vid\": 10}")}}),
      ElementsAre("VLAN 10", "  + VLAN (vlans.json:2:24)", "VLAN 11", "  - VLAN",
                  "1 VLAN added, 1 removed; 4 requests"));
}

TEST(PlanOfVlans, ComeWithDocuments) {
  EXPECT_THAT(ListAll({}, {{"vlans.json", WithMembers(OTHER)}}),
              ElementsAre("VLAN 10", "  + VLAN (vlans.json:1:31)", "1 VLAN added; 2 requests"));
  EXPECT_THAT(ListAll({{"vlans.json", WithMembers(OTHER)}}, {}),
              ElementsAre("VLAN 10", "  - VLAN", "1 VLAN removed; 2 requests"));
}

TEST(PlanOfVlans, CountsForNothingWhatTheVlanDocumentDoesNotName) {
  const Texts remote = {
      {"remote/a.json",
       WithMembers(R"("BGP": {"PEERS": [{"Name": "BGP_10_1", "address": "1.2.3.4", "as": 1}]},
                      "STATIC_ROUTES6": {"r": {"network": "2001:db8::", "prefix": 32,
                                               "gateway": "fe80::1"}})")}};
  EXPECT_THAT(ListAll({}, remote), ElementsAre("no change"));
  EXPECT_THAT(ListAll(remote, {}), ElementsAre("no change"));
  Texts all = remote;
  all["vlans.json"] = WithEntries(R"("v": {"vid": 11})");
  EXPECT_THAT(ListAll(remote, all),
              ElementsAre("VLAN 11", "  + VLAN (vlans.json:1:31)", "1 VLAN added; 2 requests"));
}

TEST(PlanOfVlans, TellsSettings) {
  const Texts defaults = {{"vlans.json", WithMembers(OTHER)}};
  const Texts timer = {{"vlans.json", WithMembers(R"("RTM": {"dead_rpm_timer": 70})")}};
  const Texts distances = {{"vlans.json", WithMembers(R"("RTM": {"ADMIN_DISTANCE": {
          "ospfv2_internal": 40, "ospfv2_external": 111, "ospfv3_internal": 40,
          "ospfv3_external": 110, "ripv2": 120, "ripng": 120, "ebgp": 200, "ibgp": 21}})")}};
  EXPECT_THAT(ListAll(defaults, timer),
              ElementsAre("VLAN 10", "  ~ VLAN: dead_rpm_timer 70, was 60 (vlans.json:1:31)",
                          "1 VLAN changed; 2 requests"));
  EXPECT_THAT(ListAll(distances, timer),
              ElementsAre("VLAN 10",
                          "  ~ VLAN: dead_rpm_timer 70, was 60; ospfv2_external 110, was 111; ibgp "
                          "20, was 21 (vlans.json:1:31)",
                          "1 VLAN changed; 2 requests"));
  EXPECT_THAT(ListAll({}, distances),
              ElementsAre("VLAN 10", "  + VLAN: ospfv2_external 111, ibgp 21 (vlans.json:1:31)",
                          "1 VLAN added; 2 requests"));
}

TEST(PlanOfVlans, TakesDistancesThatAreLeftOutForZero) {
  EXPECT_THAT(
      ListAll({{"vlans.json", WithMembers(OTHER)}},
              {{"vlans.json", WithMembers(R"("RTM": {"ADMIN_DISTANCE": {"ripng": 120}})")}}),
      ElementsAre(
          "VLAN 10",
          "  ~ VLAN: ospfv2_internal 0, was 40; ospfv2_external 0, was 110; ospfv3_internal "
          "0, was 40; ospfv3_external 0, was 110; ripv2 0, was 120; ebgp 0, was 200; ibgp "
          "0, was 20 (vlans.json:1:31)",
          "1 VLAN changed; 2 requests"));
}

TEST(PlanOfVlans, TellsRules) {
  const std::string rip = R"("RIPV2": {"enabled": true}, "RIPNG": {"enabled": true})";
  const Texts none = {{"vlans.json", WithMembers(rip)}};
  const Texts two = {
      {"vlans.json", WithMembers(rip + R"(, "REDISTRIBUTION": {"static": true, "bgp": false,
                                          "ospf": false, "connected": false})")}};
  const Texts other = {
      {"vlans.json", WithMembers(rip + R"(, "REDISTRIBUTION": {"static": false, "bgp": false,
                                          "ospf": true, "connected": false})")}};
  EXPECT_THAT(
      ListAll(none, two),
      ElementsAre("VLAN 10", "  + redistribution of static routes to RIPv2 (vlans.json:1:117)",
                  "  + redistribution of static routes to RIPng (vlans.json:1:117)",
                  "2 rules added; 2 requests"));
  EXPECT_THAT(ListAll(two, other),
              ElementsAre("VLAN 10", "  - redistribution of static routes to RIPv2",
                          "  + redistribution of OSPF routes to RIPv2 (vlans.json:1:117)",
                          "  - redistribution of static routes to RIPng",
                          "  + redistribution of OSPF routes to RIPng (vlans.json:1:117)",
                          "2 rules added, 2 removed; 4 requests"));
  EXPECT_THAT(ListAll(two, {}),
              ElementsAre("VLAN 10", "  - VLAN", "  - RIPV2", "  - RIPNG",
                          "  - redistribution of static routes to RIPv2",
                          "  - redistribution of static routes to RIPng",
                          "1 VLAN removed, 2 protocols removed, 2 rules removed; 4 requests"));
}

TEST(PlanOfVlans, HasRulesOfProtocolsThatRunOnly) {
  const std::string profile = R"("REDISTRIBUTION": {"static": true, "bgp": false, "ospf": false,
                                 "connected": false})";
  EXPECT_THAT(ListAll({{"vlans.json", WithMembers(profile)}},
                      {{"vlans.json", WithMembers(profile + R"(, "RIPV2": {"enabled": true})")}}),
              ElementsAre("VLAN 10", "  + RIPV2 (vlans.json: VLAN_CONFIGURATIONS.v.RIPV2)",
                          "  + redistribution of static routes to RIPv2 (vlans.json:1:61)",
                          "1 protocol added, 1 rule added; 1 request"));
}

TEST(PlanOfVlans, EndsEarly) {
  const intent::Intent to =
      IntentOf({{"vlans.json", WithEntries(R"("a": {"vid": 11}, "b": {"vid": 12})")}});
  for (std::size_t most = 1; most <= 4; ++most) {
    Lines lines;
    const plan::Totals totals =
        plan::ListChanges(intent::Intent(), to, [&](const std::string& line) {
          lines.push_back(line);
          return lines.size() < most;
        });
    EXPECT_THAT(lines, SizeIs(most));
    EXPECT_EQ(totals.vlans.added, most < 3 ? 1u : 2u);
  }
}

TEST(PlanOfVlans, NamesTheDefaultVlanFirst) {
  EXPECT_THAT(
      ListAll({{"device.json", R"({"default_vlan": 10})"}},
              {{"device.json", R"({"default_vlan": 20})"}, {"vlans.json", WithMembers(OTHER)}}),
      ElementsAre("device", "  ~ default VLAN 20, was 10", "VLAN 10", "  + VLAN (vlans.json:1:31)",
                  "1 VLAN added, 1 setting changed; 2 requests"));
}

TEST(PlanOfVlans, TellsWhatIsDoneInTheKernel) {
  const auto list = [](const std::string& from, const std::string& to) {
    return ListAll({{"device.json", R"({"default_vlan": 10)" + from + "}"}},
                   {{"device.json", R"({"default_vlan": 10)" + to + "}"}});
  };
  const std::string routes = R"(, "kernel": {"routes": true})";
  const std::string elsewhere = R"(, "kernel": {"routes": true, "table_base": 500})";
  EXPECT_THAT(list("", routes),
              ElementsAre("device", "  ~ routes are written into the kernel's tables",
                          "1 setting changed; 0 requests"));
  EXPECT_THAT(list(routes, ""),
              ElementsAre("device", "  ~ routes are taken out of the kernel's tables",
                          "1 setting changed; 0 requests"));
  EXPECT_THAT(list(routes, elsewhere),
              ElementsAre("device", "  ~ kernel tables from 500 on, was 40000",
                          "1 setting changed; 0 requests"));
  const std::string rules = R"(, "kernel": {"routes": true, "rules": true})";
  EXPECT_THAT(list(routes, rules), ElementsAre("device", "  ~ rules are written into the kernel",
                                               "1 setting changed; 0 requests"));
  EXPECT_THAT(list(rules, routes), ElementsAre("device", "  ~ rules are taken out of the kernel",
                                               "1 setting changed; 0 requests"));
  const std::string several = R"(, "kernel": {"routes": true, "multipath": {"20": 4, "30": 2}})";
  const std::string other = R"(, "kernel": {"routes": true, "multipath": {"10": 1, "30": 8}})";
  EXPECT_THAT(
      list(routes, several),
      ElementsAre("device", "  ~ routes of VLAN 20 have up to 4 next hops in the kernel, was 1",
                  "  ~ routes of VLAN 30 have up to 2 next hops in the kernel, was 1",
                  "2 settings changed; 0 requests"));
  EXPECT_THAT(
      list(several, other),
      ElementsAre("device", "  ~ routes of VLAN 20 have up to 1 next hop in the kernel, was 4",
                  "  ~ routes of VLAN 30 have up to 8 next hops in the kernel, was 2",
                  "2 settings changed; 0 requests"));
  const std::string links = R"(, "kernel": {"interfaces": ["eth*", "lo"], "ignore": ["eth9"]})";
  EXPECT_THAT(list("", links),
              ElementsAre("device", "  ~ links eth* lo without eth9 are interfaces, was no links",
                          testing::_));
  const std::string vrfs = R"(, "kernel": {"routes": true, "vrfs": {"red": 30, "blue": 20}})";
  EXPECT_THAT(list(routes, vrfs),
              ElementsAre("device", "  ~ VRF devices: blue for VLAN 20, red for VLAN 30, was none",
                          "1 setting changed; 0 requests"));
  EXPECT_THAT(list(vrfs, routes),
              ElementsAre("device", "  ~ VRF devices: none, was blue for VLAN 20, red for VLAN 30",
                          "1 setting changed; 0 requests"));
  EXPECT_THAT(list("", R"(, "kernel": {"routes": false, "table_base": 40000})"),
              ElementsAre("no change"));
}

// ---- losses

TEST(PlanOfVlans, TellsAVlanThatLeavesEvenIfNothingIsLost) {
  const intent::Intent from = IntentOf({{"vlans.json", WithMembers(OTHER)}});
  const plan::Plan plan = plan::MakePlan(from, intent::Intent());
  ASSERT_THAT(plan.losses, SizeIs(1));
  EXPECT_EQ(plan.losses[0].vlan, 10);
  EXPECT_TRUE(plan.losses[0].isLeaving);
  EXPECT_EQ(plan.losses[0].prefixes, 0u);
  EXPECT_THAT(plan.losses[0].lost, IsEmpty());
  EXPECT_THAT(plan.losses[0].allRowsOf, IsEmpty());
  EXPECT_THAT(plan::MakePlan(intent::Intent(), from).losses, IsEmpty());
}

}  // namespace
