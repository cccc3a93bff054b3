// Static route rows: what is accepted, what is refused and how.

#include "stack_test.h"

namespace stack_test {
namespace {

class RouteRowsTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInstance(10 | kIp6Bit);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    RunAll();
    host.Take();
  }

  /// The status of the only answer to what was requested.
  unsigned int StatusOf() {
    RunAll();
    const Lines calls = host.Take();
    EXPECT_EQ(2u, calls.size());
    const std::string answer = calls.empty() ? "" : calls[0];
    EXPECT_EQ(0u, answer.rfind("cSetRouteState(", 0)) << answer;
    return static_cast<unsigned int>(std::stoul(answer.substr(answer.rfind(' ') + 1)));
  }
  unsigned int StatusOf(int rowStatus, int adminStatus, unsigned int instance,
                        const std::string& prefix, const std::string& nextHop) {
    Route(rowStatus, adminStatus, instance, prefix, nextHop, 0, 1);
    return StatusOf();
  }
};

TEST_F(RouteRowsTest, StatusOneAndFourCreate) {
  EXPECT_EQ(1u, StatusOf(1, 1, 10, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ(1u, StatusOf(4, 1, 10, "10.8.0.0/16", "10.1.2.1"));
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                    "10 10.8.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1",
                                    "10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1"));
}

TEST_F(RouteRowsTest, StaticRoutesAreRemote) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  EXPECT_EQ(4u, control.Rib()[1].route_type);
  EXPECT_EQ(3u, control.Rib()[1].route_proto);
}

TEST_F(RouteRowsTest, AnExistingRouteIsOverwritten) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 7);
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                 "> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 7"));
}

TEST_F(RouteRowsTest, NextHopAndInterfaceArePartOfTheName) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0);
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 3);
  RunAll();
  EXPECT_EQ(4u, control.Rib().size());
  EXPECT_EQ(2u, control.Routes().size());
}

TEST_F(RouteRowsTest, StatusSixRemovesExactlyTheNamedRow) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 3);
  RunAll();
  host.Take();
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 3, 0);
  EXPECT_EQ(1u, StatusOf());
  EXPECT_EQ(2u, control.Rib().size());
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 3, 0);
  EXPECT_EQ(6u, StatusOf());
}

TEST_F(RouteRowsTest, ADestroyOfAnythingAbsentIsAnsweredWithSix) {
  EXPECT_EQ(6u, StatusOf(6, 2, 10, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ(6u, StatusOf(6, 2, 11, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ(6u, StatusOf(6, 2, 10, "10.9.1.1/16", "10.1.2.1"));
  EXPECT_EQ(6u, StatusOf(6, 2, 10, "10.9.0.0/40", "10.1.2.1"));
  EXPECT_EQ(6u, StatusOf(6, 2, 10, "2001:db8::/32", "::1"));
}

// The address and length of a connected route name no static one.
TEST_F(RouteRowsTest, ADestroyDoesNotTouchOtherProtocols) {
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 14, 5));
  EXPECT_EQ(6u, StatusOf(6, 2, 10, "10.9.0.0/16", "10.1.2.1"));
  Route(6, 2, 10, "10.1.2.0/24", "0.0.0.0", 3, 0);
  EXPECT_EQ(6u, StatusOf());
  EXPECT_EQ(2u, control.Rib().size());
}

TEST_F(RouteRowsTest, UnknownRowStatusIsAWrongValue) {
  for (const int rowStatus : {0, 2, 3, 5, 7, -1, 1000}) {
    EXPECT_EQ(3u, StatusOf(rowStatus, 1, 10, "10.9.0.0/16", "10.1.2.1")) << rowStatus;
  }
  EXPECT_EQ(1u, control.Rib().size());
}

TEST_F(RouteRowsTest, UnknownAdminStatusIsAWrongValue) {
  for (const int adminStatus : {0, 3, -1}) {
    EXPECT_EQ(3u, StatusOf(1, adminStatus, 10, "10.9.0.0/16", "10.1.2.1")) << adminStatus;
  }
}

TEST_F(RouteRowsTest, LengthsOutOfRangeAreAWrongValue) {
  EXPECT_EQ(3u, StatusOf(1, 1, 10, "10.9.0.0/33", "10.1.2.1"));
  EXPECT_EQ(3u, StatusOf(1, 1, 10, "10.9.0.0/4294967295", "10.1.2.1"));
  EXPECT_EQ(3u, StatusOf(1, 1, 10 | kIp6Bit, "2001:db8::/129", "::1"));
  EXPECT_EQ(1u, StatusOf(1, 1, 10, "10.9.0.1/32", "10.1.2.1"));
  EXPECT_EQ(1u, StatusOf(1, 1, 10 | kIp6Bit, "2001:db8::1/128", "::1"));
  EXPECT_EQ(1u, StatusOf(1, 1, 10, "0.0.0.0/0", "10.1.2.1"));
}

TEST_F(RouteRowsTest, HostBitsInTheDestinationAreInconsistent) {
  EXPECT_EQ(4u, StatusOf(1, 1, 10, "10.9.0.1/16", "10.1.2.1"));
  EXPECT_EQ(4u, StatusOf(1, 1, 10, "10.9.0.0/15", "10.1.2.1"));
  EXPECT_EQ(4u, StatusOf(1, 1, 10, "128.0.0.0/0", "10.1.2.1"));
  EXPECT_EQ(4u, StatusOf(1, 1, 10 | kIp6Bit, "2001:db8::1/127", "::1"));
  EXPECT_EQ(4u, StatusOf(1, 1, 10 | kIp6Bit, "2001:db8:0:8000::/48", "::1"));
}

TEST_F(RouteRowsTest, AFamilyOtherThanTheInstancesIsInconsistent) {
  EXPECT_EQ(4u, StatusOf(1, 1, 10, "2001:db8::/32", "::1"));
  EXPECT_EQ(4u, StatusOf(1, 1, 10 | kIp6Bit, "10.9.0.0/16", "10.1.2.1"));
}

TEST_F(RouteRowsTest, AnUnknownInstanceMayBeTriedAgain) {
  EXPECT_EQ(5u, StatusOf(1, 1, 11, "10.9.0.0/16", "10.1.2.1"));
  AddInstance(11);
  RunAll();
  host.Take();
  EXPECT_EQ(1u, StatusOf(1, 1, 11, "10.9.0.0/16", "10.1.2.1"));
}

TEST_F(RouteRowsTest, WhatIsRefusedForGoodIsNotWorthARetryInAnUnknownInstanceEither) {
  EXPECT_EQ(4u, StatusOf(1, 1, 11, "10.9.0.1/16", "10.1.2.1"));
  EXPECT_EQ(3u, StatusOf(2, 1, 11, "10.9.0.0/16", "10.1.2.1"));
}

TEST_F(RouteRowsTest, AMissingDestinationIsAWrongValueAndAMissingNextHopUnspecified) {
  unsigned char destination[4] = {10, 9, 0, 0};
  sms_update_route(1, 1, 1, 1, nullptr, 0, destination, kStaticPath, 3, 10, 1);
  EXPECT_EQ(3u, StatusOf());
  sms_update_route(1, 1, 1, 1, destination, 16, nullptr, kStaticPath, 3, 10, 1);
  EXPECT_EQ(1u, StatusOf());
  EXPECT_EQ("10 10.9.0.0/16 proto 3 via 0.0.0.0 if 3 metric 1", Routes()[1]);
}

TEST_F(RouteRowsTest, ARouteThatIsDownIsKeptAndNotEligible) {
  EXPECT_EQ(1u, StatusOf(1, 2, 10, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1", Rib()[1]);
  EXPECT_EQ(1u, StatusOf(1, 1, 10, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1", Rib()[1]);
  EXPECT_EQ(1u, StatusOf(1, 2, 10, "10.9.0.0/16", "10.1.2.1"));
  EXPECT_EQ(1u, Routes().size());
}

TEST_F(RouteRowsTest, ThePathTypePlaysNoPart) {
  sms_update_route(0, 1, 1, 1, AddressBytes("10.9.0.0").bytes, 16, AddressBytes("10.1.2.1").bytes,
                   0, 0, 10, 1);
  EXPECT_EQ(1u, StatusOf());
  EXPECT_EQ(3u, control.Routes()[1].route_proto);
}

TEST_F(RouteRowsTest, TypesOtherThanOneAreIp6) {
  const PrefixBytes prefix("2001:db8::/32");
  sms_update_route(1, 1, 1, 7, prefix.address.bytes, 32, AddressBytes("fe80::1").bytes, kStaticPath,
                   3, 10 | kIp6Bit, 1);
  EXPECT_EQ(1u, StatusOf());
  EXPECT_EQ("  10 2001:db8::/32 proto 3 via fe80::1 if 3 metric 1", Rib()[1]);
}

}  // namespace
}  // namespace stack_test
