// What others do in the kernel's tables: ours is put back, and theirs is left alone.

#include <gmock/gmock.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using system_test::Result;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class Strangers : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}});
  }
  void BeginWithOne() {
    Start();
    AwaitPass();
  }
};

TEST_F(Strangers, ADeletedRouteIsPutBack) {
  BeginWithOne();
  Ip("route delete 10.9.0.0/16 proto 201");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: route 10.9.0.0/16 in table 254 was missing, put "
                                  "back now"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), Contains("10.9.0.0/16 via 10.1.0.2 dev r1"));
}

TEST_F(Strangers, AReplacedRouteIsPutRight) {
  BeginWithOne();
  Ip("route replace 10.9.0.0/16 via 10.1.0.7 proto 201 metric 220");
  EXPECT_THAT(Verify(), HasSubstr("10.9.0.0/16 in table 254 was missing"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), Contains("10.9.0.0/16 via 10.1.0.2 dev r1"));
  EXPECT_THAT(OurRoutes(), SizeIs(2));
}

TEST_F(Strangers, AStrayUnderOurNumberIsRemoved) {
  BeginWithOne();
  Ip("route add 10.8.0.0/16 via 10.1.0.2 proto 201 metric 220");
  Ip("route add 10.7.0.0/16 via 10.1.0.2 proto 201 metric 7");
  Ip("-6 route add 2001:db8:8::/48 via 2001:db8:1::2 proto 201 metric 221");
  Ip("route add 10.6.0.0/16 proto 201 metric 220 nexthop via 10.1.0.2 nexthop via 10.1.0.3");
  Ip("route add blackhole 10.5.0.0/16 proto 201 metric 220");
  EXPECT_THAT(Verify(), HasSubstr("10.8.0.0/16 in table 254 was there and nobody wants it"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(2));
}

TEST_F(Strangers, TheirsWithOurPriorityStandsAgainstOurs) {
  Ip("route add 10.9.0.0/16 via 10.1.0.7 proto static metric 220");
  Start();
  EXPECT_THAT(Verify(), HasSubstr("10.9.0.0/16 in table 254 is refused: File exists"));
  EXPECT_EQ("10.9.1.1 via 10.1.0.7 dev r1", WayTo("10.9.1.1"));
  Ip("route delete 10.9.0.0/16 via 10.1.0.7 proto static");
  AwaitPass();
  EXPECT_EQ("10.9.1.1 via 10.1.0.2 dev r1", WayTo("10.9.1.1"));
}

TEST_F(Strangers, TheirsWithAnotherPriorityStandsBesideOurs) {
  Ip("route add 10.9.0.0/16 via 10.1.0.7 proto static metric 5");
  BeginWithOne();
  Ip("route add 10.9.0.0/16 via 10.1.0.8 proto static metric 500");
  WriteRoutes({});
  Reload(" force");
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(1));
  const std::string theirs = Ip("route show 10.9.0.0/16");
  EXPECT_THAT(theirs, HasSubstr("via 10.1.0.7 dev r1 proto static metric 5"));
  EXPECT_THAT(theirs, HasSubstr("via 10.1.0.8 dev r1 proto static metric 500"));
}

// The kernel takes both for one route with two next hops.
TEST_F(Strangers, TheirsBesideOursInIp6StaysWhenOursGoes) {
  WriteRoutes({{"2001:db8:9::/48", "2001:db8:1::2"}});
  BeginWithOne();
  Ip("-6 route append 2001:db8:9::/48 via 2001:db8:1::7 dev r1 proto static metric 220");
  WriteRoutes({});
  Reload(" force");
  AwaitPass();
  const std::string left = Ip("-6 route show 2001:db8:9::/48");
  EXPECT_THAT(left, HasSubstr("via 2001:db8:1::7"));
  EXPECT_THAT(left, Not(HasSubstr("via 2001:db8:1::2 ")));
}

TEST_F(Strangers, AStrayWithoutAPriorityIsRemovedAndOursStays) {
  BeginWithOne();
  Ip("route add 10.9.0.0/16 via 10.1.0.2 proto 201");
  EXPECT_THAT(Verify(), HasSubstr("10.9.0.0/16 in table 254 was there and nobody wants it"));
  AwaitPass();
  EXPECT_THAT(Ip("route show 10.9.0.0/16"), HasSubstr("metric 220"));
  EXPECT_THAT(OurRoutes(), SizeIs(2));
}

TEST_F(Strangers, AFullTableThatGoesComesBack) {
  WriteRoutes({}, {{"10.9.0.0/16", "10.1.0.2"}});
  BeginWithOne();
  Ip("route flush table 40020");
  EXPECT_THAT(Verify(), HasSubstr("FAIL: 2 rows are not as wanted"));
  AwaitPass();
  EXPECT_THAT(OurRoutes(), SizeIs(2));
}

// ---- getting rid of it

TEST_F(Strangers, KernelCleanRemovesOursOnly) {
  Ip("route add 10.8.0.0/16 via 10.1.0.7 proto static metric 220");
  BeginWithOne();
  End();
  const Result clean = system_test::RunDaemon({"--kernel-clean"}, "");
  EXPECT_EQ(0, clean.status);
  EXPECT_EQ("2 routes and 0 rules removed\n", clean.output);
  EXPECT_THAT(OurRoutes(), IsEmpty());
  EXPECT_THAT(Ip("route show 10.8.0.0/16"), HasSubstr("proto static"));
  EXPECT_EQ("0 routes and 0 rules removed\n",
            system_test::RunDaemon({"--kernel-clean"}, "").output);
}

}  // namespace
