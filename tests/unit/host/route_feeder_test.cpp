#include "device/host/route_feeder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/host/route_reader.h"
#include "reported_lines.h"
#include "tests/support/device_fixture.h"

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

  host::RowKey Row(unsigned short vlan, bool ip6, const char* network, unsigned length) const {
    host::RowKey row;
    row.first.vlan = vlan;
    row.first.ip6 = ip6;
    row.first.length = length;
    row.second = 3;
    Tarsel::Ip4Addr address4;
    Tarsel::Ip6Addr address6;
    if (ip6) {
      EXPECT_TRUE(address6.FromString(network));
      std::copy_n(address6.GetBytes(), 16, row.first.destination.begin());
      row.first.gateway[15] = 1;
    } else {
      EXPECT_TRUE(Tarsel::Parse_IpAddr()(address4, network));
      std::copy_n(address4.GetBytes(), 4, row.first.destination.begin());
      row.first.gateway[0] = 10;
    }
    return row;
  }

  host::RouteFeeder feeder;
};

TEST_F(RouteFeeder, AddsAndRemovesRoutesOfBothFamilies) {
  const host::Rows rows = {{Row(10, false, "10.9.0.0", 16), 5},
                           {Row(10, true, "2001:db8:9::", 48), 6}};
  EXPECT_EQ(feeder.Push(rows), 2u);
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
  host::Rows rows = {{Row(10, false, "10.9.0.0", 16), 5}, {Row(10, false, "10.8.0.0", 16), 5}};
  feeder.Push(rows);
  EXPECT_EQ(feeder.Push(rows), 0u);
  rows.begin()->second = 7;
  EXPECT_EQ(feeder.Push(rows), 1u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 2u);
  EXPECT_EQ(Control().Rib()[0].metric1, 7u);
  EXPECT_EQ(feeder.GetRows(), rows);
}

TEST_F(RouteFeeder, RemovesTheRoutesOfVlans) {
  feeder.Push({{Row(10, false, "10.9.0.0", 16), 5},
               {Row(20, false, "10.9.0.0", 16), 5},
               {Row(20, true, "2001:db8:9::", 48), 5}});
  ASSERT_TRUE(Settle());
  EXPECT_EQ(feeder.RemoveVlans({}), 0u);
  EXPECT_EQ(feeder.RemoveVlans({30}), 0u);
  EXPECT_EQ(feeder.RemoveVlans({20, 30}), 2u);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Control().Rib().size(), 1u);
  EXPECT_EQ(Control().Rib()[0].instance, 10u);
  EXPECT_EQ(feeder.GetRows().size(), 1u);
}

}  // namespace
