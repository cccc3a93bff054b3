#include "device/apply/route_feeder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/device_fixture.h"
#include "tests/support/reported_lines.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RouteFeeder : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload("{\"VLAN_CONFIGURATIONS\": {\"a\": {\"vid\": 10}, \"b\": {\"vid\": 20}}}", "vlans.json");
    ASSERT_TRUE(Settle());
    TakeCalls();
  }

  intent::ResolvedRoute Route(unsigned short vlan, bool ip6, const char* network,
                              unsigned length) const {
    intent::ResolvedRoute route;
    route.target.vlan = vlan;
    route.target.ip6 = ip6;
    route.target.length = length;
    route.ifIndex = 3;
    Tarsel::Ip4Addr address4;
    Tarsel::Ip6Addr address6;
    if (ip6) {
      EXPECT_TRUE(address6.FromString(network));
      std::copy_n(address6.GetBytes(), 16, route.target.destination.begin());
      route.target.gateway[15] = 1;
    } else {
      EXPECT_TRUE(Tarsel::Parse_IpAddr()(address4, network));
      std::copy_n(address4.GetBytes(), 4, route.target.destination.begin());
      route.target.gateway[0] = 10;
    }
    return route;
  }

  apply::RouteFeeder feeder;
};

TEST_F(RouteFeeder, AddsAndRemovesRoutesOfBothFamilies) {
  const intent::ResolvedRoutes routes = {{Route(10, false, "10.9.0.0", 16), 5},
                                         {Route(10, true, "2001:db8:9::", 48), 6}};
  EXPECT_EQ(feeder.Push(routes), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.0.0.0, 196608, 3, 10, 5)",
                          "sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, ::1, 196608, 3, 32778, "
                          "6)"));
  EXPECT_EQ(feeder.Push({}), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, 10.0.0.0, 0, 3, 10, 0)",
                          "sms_update_route(1, 6, 2, 2, 2001:db8:9::, 48, ::1, 0, 3, 32778, 0)"));
  EXPECT_THAT(Control().Rib(), IsEmpty());
}

TEST_F(RouteFeeder, AsksForDifferencesOnly) {
  intent::ResolvedRoutes routes = {{Route(10, false, "10.9.0.0", 16), 5},
                                   {Route(10, false, "10.8.0.0", 16), 5}};
  feeder.Push(routes);
  EXPECT_EQ(feeder.Push(routes), 0u);
  routes.begin()->second = 7;
  EXPECT_EQ(feeder.Push(routes), 1u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 2u);
  EXPECT_EQ(Control().Rib()[0].metric1, 7u);
  EXPECT_EQ(feeder.GetRoutes(), routes);
}

TEST_F(RouteFeeder, RemovesTheRoutesOfVlans) {
  feeder.Push({{Route(10, false, "10.9.0.0", 16), 5},
               {Route(20, false, "10.9.0.0", 16), 5},
               {Route(20, true, "2001:db8:9::", 48), 5}});
  ASSERT_TRUE(Settle());
  EXPECT_EQ(feeder.RemoveVlans({}), 0u);
  EXPECT_EQ(feeder.RemoveVlans({30}), 0u);
  EXPECT_EQ(feeder.RemoveVlans({20, 30}), 2u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 1u);
  EXPECT_EQ(Control().Rib()[0].instance, 10u);
  EXPECT_EQ(feeder.GetRoutes().size(), 1u);
}

}  // namespace
