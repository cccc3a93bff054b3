#include "device/apply/route_feeder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "tests/support/device_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RouteFeeder : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload("{\"VLAN_CONFIGURATIONS\": {\"a\": {\"vid\": 10}, \"b\": {\"vid\": 20}}}", "vlans.json");
    ASSERT_TRUE(Settle());
    TakeCalls();
  }

  intent::ResolvedRoute Route(unsigned short vlan, bool ip6, const char* network, unsigned length,
                              std::uint32_t metric = 5) const {
    intent::ResolvedRoute route;
    route.metric = metric;
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

  static std::shared_ptr<const intent::RoutePlan> Plan(const intent::SharedRoutes& present,
                                                       intent::ResolvedRoutes wanted) {
    return std::make_shared<const intent::RoutePlan>(intent::PlanRoutes(
        present, std::make_shared<const intent::ResolvedRoutes>(std::move(wanted))));
  }
  // Returns how many requests that took.
  std::size_t Push(intent::ResolvedRoutes wanted) {
    feeder.Begin(Plan(feeder.GetRoutes(), std::move(wanted)));
    return feeder.Continue(100);
  }

  apply::RouteFeeder feeder;
};

TEST_F(RouteFeeder, AddsAndRemovesRoutesOfBothFamilies) {
  EXPECT_EQ(Push({Route(10, false, "10.9.0.0", 16, 5), Route(10, true, "2001:db8:9::", 48, 6)}),
            2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.0.0.0, 196608, 3, 10, 5)",
                          "sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, ::1, 196608, 3, 32778, "
                          "6)"));
  EXPECT_EQ(Push({}), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, 10.0.0.0, 0, 3, 10, 0)",
                          "sms_update_route(1, 6, 2, 2, 2001:db8:9::, 48, ::1, 0, 3, 32778, 0)"));
  EXPECT_THAT(Control().Rib(), IsEmpty());
}

TEST_F(RouteFeeder, AsksForDifferencesOnly) {
  const intent::ResolvedRoute other = Route(10, false, "10.9.0.0", 16);
  Push({Route(10, false, "10.8.0.0", 16), other});
  EXPECT_EQ(Push({Route(10, false, "10.8.0.0", 16), other}), 0u);
  EXPECT_EQ(Push({Route(10, false, "10.8.0.0", 16, 7), other}), 1u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 2u);
  EXPECT_EQ(Control().Rib()[0].metric1, 7u);
  EXPECT_THAT(*feeder.GetRoutes(), ElementsAre(Route(10, false, "10.8.0.0", 16, 7), other));
}

TEST_F(RouteFeeder, MakesNoMoreRequestsAtOnceThanItMay) {
  const std::vector<const char*> networks = {"10.1.0.0", "10.2.0.0", "10.3.0.0", "10.4.0.0"};
  intent::ResolvedRoutes routes;
  for (const char* network : networks) {
    routes.push_back(Route(10, false, network, 16));
  }
  Push({routes[0], routes[1]});
  ASSERT_TRUE(Settle());
  TakeCalls();
  const auto present = feeder.GetRoutes();
  feeder.Begin(Plan(present, {routes[2], routes[3]}));
  EXPECT_EQ(feeder.Continue(3), 3u);
  EXPECT_EQ(feeder.GetRoutes(), present) << "the plan is being carried out";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(),
              ElementsAre(HasSubstr("(1, 6, 2, 1, 10.1.0.0"), HasSubstr("(1, 6, 2, 1, 10.2.0.0"),
                          HasSubstr("(1, 1, 1, 1, 10.3.0.0")));
  EXPECT_EQ(feeder.Continue(1), 1u);
  EXPECT_EQ(feeder.Continue(1), 0u);
  EXPECT_THAT(*feeder.GetRoutes(), ElementsAre(routes[2], routes[3]));
  EXPECT_EQ(feeder.Continue(1), 0u);
}

TEST_F(RouteFeeder, ForgetsAPlanWithTheRoutes) {
  Push({Route(10, false, "10.8.0.0", 16)});
  feeder.Begin(Plan(feeder.GetRoutes(), {Route(10, false, "10.9.0.0", 16)}));
  feeder.Forget();
  EXPECT_THAT(*feeder.GetRoutes(), IsEmpty());
  EXPECT_EQ(feeder.Continue(100), 0u);
  EXPECT_THAT(*feeder.GetRoutes(), IsEmpty());
}

TEST_F(RouteFeeder, RemovesTheRoutesOfVlans) {
  Push({Route(10, false, "10.9.0.0", 16), Route(20, false, "10.9.0.0", 16),
        Route(20, true, "2001:db8:9::", 48)});
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Push(intent::WithoutVlans(*feeder.GetRoutes(), {30})), 0u);
  EXPECT_EQ(Push(intent::WithoutVlans(*feeder.GetRoutes(), {20, 30})), 2u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 1u);
  EXPECT_EQ(Control().Rib()[0].instance, 10u);
  EXPECT_EQ(feeder.GetRoutes()->size(), 1u);
}

}  // namespace
