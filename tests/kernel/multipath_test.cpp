// Routes with several next hops, in the kernel as in the stack.

#include <gmock/gmock.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using kernel_test::Route;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// r1 and r2 are both in VLAN 10, the default VLAN, whose routes may have four next hops.
class KernelMultipath : public KernelTest {
 protected:
  static constexpr const char* BOTH =
      "10.9.0.0/16 nexthop via 10.1.0.2 dev r1 nexthop via 10.2.0.2 dev r2";
  static constexpr const char* BOTH6 =
      "2001:db8:9::/48 nexthop via 2001:db8:1::2 dev r1 nexthop via 2001:db8:2::2 dev r2";
  static constexpr const char* FIRST = "10.9.0.0/16 via 10.1.0.2 dev r1";
  static constexpr const char* FIRST6 = "2001:db8:9::/48 via 2001:db8:1::2 dev r1";

  void SetUp() override {
    KernelTest::SetUp();
    Ip("address delete 10.1.0.1/24 dev r2");
    Ip("address add 10.2.0.1/24 dev r2");
    Ip("address add 2001:db8:2::1/64 dev r2 nodad");
    WriteLinks();
    WriteRoutes({{"10.9.0.0/16", "10.1.0.2"},
                 {"10.9.0.0/16", "10.2.0.2"},
                 {"2001:db8:9::/48", "2001:db8:1::2"},
                 {"2001:db8:9::/48", "2001:db8:2::2"}});
  }
  void WriteLinks(const std::string& multipath = R"("multipath": {"10": 4}, )") {
    folder.Write("device.json", R"({"default_vlan": 10, "kernel": {)" + multipath +
                                    R"("interfaces": ["r*"], "routes": true},
        "interfaces": [{"name": "r2", "vlan": 10, "index": 99}]})");
  }
  void Begin() {
    Start();
    AwaitPass();
    ASSERT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
  }
};

TEST_F(KernelMultipath, EqualRoutesAreOneWithSeveralNextHops) {
  Begin();
  const std::string all = Ask("console vlan 10\nrtm rib\nrtm route\nversion", "console protocol");
  EXPECT_THAT(all, AllOf(testing::ContainsRegex(">.*10.9.0.0/16.* 10.1.0.2 "),
                         testing::ContainsRegex(">.*10.9.0.0/16.* 10.2.0.2 ")));
  EXPECT_THAT(Ask("status", "sessions"), HasSubstr("kernel          2 of 2 routes installed"));
  End();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
}

// Of a link that goes down the kernel keeps the next hop, out of use.
TEST_F(KernelMultipath, ALinkThatGoesDownTakesItsNextHopAndBringsItBack) {
  Begin();
  Ip("link set r2 down");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(FIRST, FIRST6));
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
  Ip("link set r2 up");
  Ip("address replace 2001:db8:2::1/64 dev r2 nodad");
  AwaitState("r2", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
}

TEST_F(KernelMultipath, ACableThatIsPulledTakesItsNextHopAndBringsItBack) {
  Begin();
  Ip("link set p1 down");
  AwaitState("r1", false);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre("10.9.0.0/16 via 10.2.0.2 dev r2",
                                       "2001:db8:9::/48 via 2001:db8:2::2 dev r2"));
  Ip("link set p1 up");
  AwaitState("r1", true);
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
}

// The kernel takes the whole IPv4 route of a link that goes for good.
TEST_F(KernelMultipath, ALinkThatIsDeletedLeavesTheOther) {
  Begin();
  Ip("link delete r2");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(FIRST, FIRST6));
}

TEST_F(KernelMultipath, WhatWasChangedByHandIsPutBack) {
  Begin();
  Ip("route delete 10.9.0.0/16 proto 201");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 was missing"));
  AwaitPass();
  Ip("-6 route delete 2001:db8:9::/48 via 2001:db8:2::2 proto 201");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 2001:db8:9::/48 in table 254 was missing"));
  AwaitPass();
  const std::string metric =
      Ip("route show 10.9.0.0/16").find("metric 221") != std::string::npos ? "221" : "220";
  Ip("route replace 10.9.0.0/16 proto 201 metric " + metric +
     " nexthop via 10.1.0.2 weight 3 nexthop via 10.2.0.2");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 was missing"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
}

// With shares and a hop that no route of ours has: what stood in its place names it no more.
TEST_F(KernelMultipath, WhatIsNotLikeARouteOfOursGoes) {
  Begin();
  const std::string metric =
      Ip("route show 10.9.0.0/16").find("metric 221") != std::string::npos ? "221" : "220";
  Ip("route replace 10.9.0.0/16 proto 201 metric " + metric +
     " nexthop via 10.1.0.2 weight 3 nexthop via 10.2.0.2 nexthop via 10.2.0.7");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 was missing"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
}

// In IPv6 the kernel takes both for one route.
TEST_F(KernelMultipath, AStrangersNextHopBesideOursStaysInIp6) {
  Begin();
  Ip("-6 route append 2001:db8:9::/48 via 2001:db8:1::7 dev r1 proto static metric 220");
  Verify();
  AwaitPass();
  WriteRoutes({});
  Reload(" force");
  AwaitPass();
  const std::string left = Ip("-6 route show 2001:db8:9::/48");
  EXPECT_THAT(left, HasSubstr("via 2001:db8:1::7"));
  EXPECT_THAT(left, Not(HasSubstr("::2 ")));
  EXPECT_THAT(Ip("route show proto 201"), IsEmpty());
}

TEST_F(KernelMultipath, AnotherNumberHoldsForWhatStands) {
  WriteLinks("");
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(FIRST, FIRST6));
  WriteLinks();
  EXPECT_THAT(Ask("diff", "request"),
              HasSubstr("~ routes of VLAN 10 have up to 4 next hops in the kernel, was 1"));
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, BOTH6));
  WriteLinks(R"("multipath": {"20": 4, "10": 1}, )");
  Reload();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(FIRST, FIRST6));
}

TEST_F(KernelMultipath, RoutesThatComeAndGoAreNextHopsThatDo) {
  Begin();
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"},
               {"10.9.0.0/16", "10.2.0.2"},
               {"10.9.0.0/16", "10.2.0.3"},
               {"2001:db8:9::/48", "2001:db8:2::2"}});
  Reload(" force");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH + std::string(" nexthop via 10.2.0.3 dev r2"),
                                       "2001:db8:9::/48 via 2001:db8:2::2 dev r2"));
}

TEST_F(KernelMultipath, WhatStandsIsTakenOverAfterAKill) {
  Begin();
  Kill();
  WriteRoutes({{"10.9.0.0/16", "10.1.0.2"},
               {"10.9.0.0/16", "10.2.0.2"},
               {"2001:db8:9::/48", "2001:db8:1::2"}});
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), ElementsAre(BOTH, FIRST6));
}

// Each with a long message of its own, so that a socket takes no 500 of them at once.
TEST_F(KernelMultipath, ThousandsWithManyNextHopsAreWritten) {
  std::vector<Route> routes;
  for (int i = 0; i < 1000; ++i) {
    for (int gateway = 2; gateway < 12; ++gateway) {
      routes.push_back(
          {"10." + std::to_string(20 + i / 200) + "." + std::to_string(i % 200) + ".0/24",
           "10.1.0." + std::to_string(gateway)});
    }
  }
  WriteRoutes(routes);
  WriteLinks(R"("multipath": {"10": 64}, )");
  Start();
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(1000));
  EXPECT_THAT(Ip("route show 10.22.7.0/24"), HasSubstr("nexthop via 10.1.0.11 dev r1"));
  End();
  EXPECT_EQ("1000 routes and 0 rules removed\n",
            system_test::RunDaemon({"--kernel-clean"}, "").output);
}

}  // namespace
