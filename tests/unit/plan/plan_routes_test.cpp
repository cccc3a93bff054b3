// What the plan says of static routes, and which prefixes it takes away.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// By way of 10.1.0.NUMBER to NETWORK/24. The metric is the one that is asked for.
std::string Route(const std::string& network, unsigned int number, unsigned int metric,
                  const std::string& interface = "") {
  return R"({"network": ")" + network + R"(", "netmask": "255.255.255.0", "gateway": "10.1.0.)" +
         std::to_string(number) + R"(", "metric": )" + std::to_string(metric) +
         R"(, "routemetricmode": "passthrough")" +
         (interface.empty() ? "" : R"(, "interface": ")" + interface + "\"") + "}";
}

std::string Routes(const std::vector<std::string>& routes) {
  std::string text;
  for (const std::string& route : routes) text += (text.empty() ? "\n" : ",\n") + route;
  return R"("STATIC_ROUTES": [)" + text + "]";
}

Texts Vlans(const std::vector<std::string>& routes) {
  return {{"vlans.json", WithMembers(Routes(routes))}};
}

Texts With(Texts texts, const std::string& name, const std::string& text) {
  texts[name] = text;
  return texts;
}

TEST(PlanOfRoutes, TellsWhichComeGoAndChange) {
  EXPECT_THAT(
      ListAll(Vlans({Route("1.0.0.0", 1, 5), Route("2.0.0.0", 1, 1), Route("4.0.0.0", 1, 1)}),
              Vlans({Route("3.0.0.0", 1, 0), Route("2.0.0.0", 1, 7), Route("4.0.0.0", 1, 1)})),
      ElementsAre("VLAN 10", "  - route 1.0.0.0/24 via 10.1.0.1",
                  "  ~ route 2.0.0.0/24 via 10.1.0.1: metric 7, was 1 (vlans.json:3:1)",
                  "  + route 3.0.0.0/24 via 10.1.0.1: metric 0 (vlans.json:2:1)",
                  "1 route added, 1 removed, 1 changed; 3 requests"));
}

TEST(PlanOfRoutes, TakesAnotherNextHopForAnotherRoute) {
  EXPECT_THAT(ListAll(Vlans({Route("1.0.0.0", 1, 5)}), Vlans({Route("1.0.0.0", 2, 5)})),
              ElementsAre("VLAN 10", "  - route 1.0.0.0/24 via 10.1.0.1",
                          "  + route 1.0.0.0/24 via 10.1.0.2: metric 5 (vlans.json:2:1)",
                          "1 route added, 1 removed; 2 requests"));
}

TEST(PlanOfRoutes, TellsThoseOfIp6) {
  const auto with = [](const std::string& prefix) {
    return Texts{{"vlans.json", WithMembers(R"("STATIC_ROUTES6": {"r": {"network": "2001:db8::",
        "prefix": )" + prefix + R"(, "gateway": "fe80::1"}})")}};
  };
  EXPECT_THAT(ListAll(with("32"), with("\"48\"")),
              ElementsAre("VLAN 10", "  - route 2001:db8::/32 via fe80::1",
                          "  + route 2001:db8::/48 via fe80::1: metric 0 (vlans.json:1:67)",
                          "1 route added, 1 removed; 2 requests"));
  EXPECT_THAT(ListAll(with("32"), with("\"32\"")), ElementsAre("no change"));
}

TEST(PlanOfRoutes, CountsTheFirstDocument) {
  const Texts one = Vlans({Route("1.0.0.0", 1, 5)});
  const std::string seven = WithMembers(Routes({Route("1.0.0.0", 1, 7)}));
  const Texts both = With(one, "remote/a.json", seven);
  const Texts remote = {{"vlans.json", WithMembers(R"("x-note": 1)")}, {"remote/a.json", seven}};
  EXPECT_THAT(ListAll(one, both), ElementsAre("no change"));
  EXPECT_THAT(ListAll(both, remote),
              ElementsAre("VLAN 10",
                          "  ~ route 1.0.0.0/24 via 10.1.0.1: metric 7, was 5 (remote/a.json:2:1)",
                          "1 route changed; 1 request"));
}

TEST(PlanOfRoutes, KeepsARouteThatMovesToAnotherDocument) {
  const std::string routes = WithMembers(Routes({Route("1.0.0.0", 1, 5)}));
  const Texts empty = {{"vlans.json", WithMembers(R"("x-note": 1)")}};
  EXPECT_THAT(ListAll(With(empty, "remote/a.json", routes), With(empty, "remote/b.json", routes)),
              ElementsAre("no change"));
}

TEST(PlanOfRoutes, GoWithTheirVlan) {
  EXPECT_THAT(ListAll(Vlans({Route("1.0.0.0", 1, 5)}), {}),
              ElementsAre("VLAN 10", "  - VLAN", "  - route 1.0.0.0/24 via 10.1.0.1",
                          "1 VLAN removed, 1 route removed; 3 requests"));
}

// ---- interfaces

class PlanOfRoutesOnInterfaces : public testing::Test {
 protected:
  static Texts Config(const std::string& interfaces, unsigned int metric = 5) {
    return With(Vlans({Route("1.0.0.0", 1, metric, "eth0"), Route("1.0.0.0", 1, 1)}), "device.json",
                WithInterfaces(interfaces));
  }
  const std::string m_three = R"({"name": "eth0", "vlan": 10, "index": 3})";
  const std::string m_four = R"({"name": "eth0", "vlan": 10, "index": 4})";
  const std::string m_elsewhere = R"({"name": "eth0", "vlan": 11, "index": 3})";
};

TEST_F(PlanOfRoutesOnInterfaces, HaveTheirNames) {
  EXPECT_THAT(ListAll(Config(m_three), Config(m_three, 6)),
              ElementsAre("VLAN 10",
                          "  ~ route 1.0.0.0/24 via 10.1.0.1 on eth0: metric 6, was 5 "
                          "(vlans.json:2:1)",
                          "1 route changed; 1 request"));
}

TEST_F(PlanOfRoutesOnInterfaces, WaitForTheirInterface) {
  EXPECT_THAT(ListAll(Config(m_three), Config("")),
              ElementsAre("VLAN 10", "  - interface 3 eth0",
                          "  ~ route 1.0.0.0/24 via 10.1.0.1 on eth0: waits for its interface "
                          "(vlans.json:2:1)",
                          "1 interface removed, 1 route changed; 3 requests"));
  EXPECT_THAT(ListAll(Config("", 4), Config(m_three)),
              ElementsAre("VLAN 10", "  + interface 3 eth0 (device.json:1:37)",
                          "  ~ route 1.0.0.0/24 via 10.1.0.1 on eth0: metric 5, was 4; interface "
                          "3, waited for it (vlans.json:2:1)",
                          "1 interface added, 1 route changed; 3 requests"));
  EXPECT_THAT(ListAll(Config("", 4), Config("", 5)),
              ElementsAre("VLAN 10",
                          "  ~ route 1.0.0.0/24 via 10.1.0.1 on eth0: metric 5, was 4 "
                          "(vlans.json:2:1)",
                          "1 route changed; 0 requests"));
  EXPECT_THAT(
      ListAll({}, Config(m_elsewhere)),
      ElementsAre("device", "  ~ default VLAN 10, was 1", "VLAN 10", "  + VLAN (vlans.json:1:31)",
                  "  + route 1.0.0.0/24 via 10.1.0.1: metric 1 (vlans.json:3:1)",
                  "  + route 1.0.0.0/24 via 10.1.0.1 on eth0: metric 5, waits for its "
                  "interface (vlans.json:2:1)",
                  "VLAN 11", "  + interface 3 eth0 (device.json:1:37)",
                  "1 VLAN added, 1 interface added, 2 routes added, 1 setting changed; 5 "
                  "requests"));
  EXPECT_THAT(
      ListAll(Config(""), With(Vlans({}), "device.json", WithInterfaces(""))),
      ElementsAre("VLAN 10", "  - route 1.0.0.0/24 via 10.1.0.1",
                  "  - route 1.0.0.0/24 via 10.1.0.1 on eth0", "2 routes removed; 1 request"));
}

TEST_F(PlanOfRoutesOnInterfaces, AreOthersOnAnotherIndex) {
  EXPECT_THAT(
      ListAll(Config(m_three), Config(m_four)),
      ElementsAre("VLAN 10", "  - interface 3 eth0", "  + interface 4 eth0 (device.json:1:37)",
                  "  ~ route 1.0.0.0/24 via 10.1.0.1 on eth0: interface 4, was 3 "
                  "(vlans.json:2:1)",
                  "1 interface added, 1 removed, 1 route changed; 6 requests"));
}

// ---- losses

plan::Plan PlanOf(const Texts& from, const Texts& to) {
  return plan::MakePlan(IntentOf(from), IntentOf(to));
}

TEST(LossesOfRoutes, ArePrefixesWithoutAnyRouteAfterwards) {
  const plan::Plan plan =
      PlanOf(Vlans({Route("1.0.0.0", 1, 5), Route("1.0.0.0", 2, 5), Route("2.0.0.0", 1, 5),
                    Route("3.0.0.0", 1, 5), Route("4.0.0.0", 1, 5), Route("4.0.0.0", 2, 5)}),
             Vlans({Route("1.0.0.0", 2, 5), Route("2.0.0.0", 9, 5), Route("3.0.0.0", 1, 6),
                    Route("5.0.0.0", 1, 5)}));
  ASSERT_THAT(plan.losses, SizeIs(1));
  const plan::VlanLoss& loss = plan.losses[0];
  EXPECT_EQ(loss.vlan, 10);
  EXPECT_FALSE(loss.isLeaving);
  EXPECT_EQ(loss.prefixes, 4u);
  ASSERT_THAT(loss.lost, SizeIs(1));
  EXPECT_EQ(loss.lost[0].vlan, 10);
  EXPECT_FALSE(loss.lost[0].ip6);
  EXPECT_EQ(loss.lost[0].length, 24);
  EXPECT_EQ(loss.lost[0].destination, (std::array<unsigned char, 16>{4, 0, 0, 0}));
}

TEST(LossesOfRoutes, AreOfEachLengthAndFamily) {
  const auto with = [](const std::string& length, const std::string& mask) {
    return Texts{{"vlans.json", WithMembers(R"(
      "STATIC_ROUTES": [{"network": "0.0.0.0", "netmask": ")" +
                                            mask + R"(", "gateway": "1.1.1.1"}],
      "STATIC_ROUTES6": [{"network": "::", "prefix": )" +
                                            length + R"(, "gateway": "fe80::1"}])")}};
  };
  const plan::Plan plan = PlanOf(with("0", "0.0.0.0"), with("1", "128.0.0.0"));
  ASSERT_THAT(plan.losses, SizeIs(1));
  EXPECT_EQ(plan.losses[0].prefixes, 2u);
  ASSERT_THAT(plan.losses[0].lost, SizeIs(2));
  EXPECT_FALSE(plan.losses[0].lost[0].ip6);
  EXPECT_TRUE(plan.losses[0].lost[1].ip6);
  EXPECT_EQ(plan.losses[0].lost[1].length, 0);
}

TEST(LossesOfRoutes, AreThoseOfEachVlan) {
  const auto with = [](const std::vector<std::string>& ten, const std::vector<std::string>& eleven,
                       const std::vector<std::string>& twelve) {
    return Texts{{"vlans.json",
                  WithEntries(R"("a": {"vid": 10, )" + Routes(ten) + R"(}, "b": {"vid": 11, )" +
                              Routes(eleven) + R"(}, "c": {"vid": 12, )" + Routes(twelve) + "}")}};
  };
  const std::vector<std::string> one = {Route("1.0.0.0", 1, 5)};
  const plan::Plan plan = PlanOf(with(one, one, one), with({}, one, {}));
  ASSERT_THAT(plan.losses, SizeIs(2));
  EXPECT_EQ(plan.losses[0].vlan, 10);
  EXPECT_EQ(plan.losses[1].vlan, 12);
  EXPECT_THAT(plan.losses[1].lost, SizeIs(1));
  EXPECT_EQ(plan.losses[1].lost[0].vlan, 12);
}

TEST(LossesOfRoutes, AreNotThoseThatWaitedAnyway) {
  const std::string eth0 = R"({"name": "eth0", "vlan": 10, "index": 3})";
  const Texts routes = Vlans({Route("1.0.0.0", 1, 5, "eth0")});
  const Texts with = With(routes, "device.json", WithInterfaces(eth0));
  const Texts without = With(routes, "device.json", WithInterfaces(""));
  EXPECT_THAT(PlanOf(without, With(Vlans({}), "device.json", WithInterfaces(""))).losses,
              IsEmpty());
  ASSERT_THAT(PlanOf(with, without).losses, SizeIs(1));
  EXPECT_THAT(PlanOf(with, without).losses[0].lost, SizeIs(1));
  EXPECT_THAT(PlanOf(without, with).losses, IsEmpty());
}

TEST(LossesOfRoutes, AreAllOfAVlanThatLeaves) {
  const plan::Plan plan = PlanOf(Vlans({Route("1.0.0.0", 1, 5), Route("2.0.0.0", 1, 5)}), {});
  ASSERT_THAT(plan.losses, SizeIs(1));
  EXPECT_TRUE(plan.losses[0].isLeaving);
  EXPECT_EQ(plan.losses[0].prefixes, 2u);
  EXPECT_THAT(plan.losses[0].lost, SizeIs(2));
}

}  // namespace
