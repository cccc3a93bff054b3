// Static routes of other components, as the routing stack sees them.
#include "vantacore/static_routes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/device_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace Tarsel;

constexpr unsigned short VLAN = 10;
constexpr unsigned int IF_INDEX = 3;
constexpr long STATIC = 0x30000;
constexpr long UP = 1;
constexpr long DOWN = 2;

const Ip4Addr NETWORK(10, 9, 0, 0);
const Ip4Addr MASK(255, 255, 0, 0);
const Ip4Addr GATEWAY(10, 1, 2, 1);

Ip6Addr Ip6(const char* text) {
  Ip6Addr address;
  EXPECT_TRUE(address.FromString(text)) << text;
  return address;
}

const Ip6Addr NETWORK6 = Ip6("2001:db8:9::");
const Ip6Prefix PREFIX6(Ip6("2001:db8:9::"), 48);
const Ip6Addr GATEWAY6 = Ip6("2001:db8::1");

class StaticRoutesTest : public test_support::DeviceFixture {
 protected:
  StaticRoutesTest() {
    Start();
    Reload(R"({"VLAN_CONFIGURATIONS": [{"vid": 10}]})", "vlans");
    EXPECT_TRUE(Settle());
    TakeCalls();
  }
  // The route requests that reach the stack.
  std::vector<std::string> Requests() {
    EXPECT_TRUE(Settle());
    std::vector<std::string> requests;
    for (const std::string& call : TakeCalls()) {
      if (call.rfind("sms_update_route(", 0) == 0) {
        requests.push_back(call);
      }
    }
    return requests;
  }
};

// The arguments: not shared, row status, admin status, family, destination, length, next hop, type,
// interface, instance, metric.

TEST_F(StaticRoutesTest, AddRouteSendsAnActiveRow) {
  EXPECT_EQ(AddRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX, 6, STATIC, UP), 1);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                          "3, 10, 6)"));
}

TEST_F(StaticRoutesTest, AddRoutePassesTypeAndAdminStatusOn) {
  EXPECT_EQ(AddRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX, 6, 0xD0000, DOWN), 1);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 851968, "
                          "3, 10, 6)"));
}

TEST_F(StaticRoutesTest, TheMetricIsCutTo16Bits) {
  AddRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX, 70000, STATIC, UP);
  AddRoute(VLAN, NETWORK6, PREFIX6, GATEWAY6, IF_INDEX, 65536 + 7, STATIC, UP);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                          "3, 10, 4464)",
                          "sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, "
                          "196608, 3, 32778, 7)"));
}

TEST_F(StaticRoutesTest, OnlyTheMetricIsCut) {
  Reload(R"({"VLAN_CONFIGURATIONS": [{"vid": 10}, {"vid": 40000}]})", "vlans");
  AddRoute(40000, NETWORK, MASK, GATEWAY, 70000, 6, 0x7F030000, 65537);
  AddRoute(40000, NETWORK6, PREFIX6, GATEWAY6, 70000, 6, 0x7F030000, 65537);
  EXPECT_THAT(Requests(), ElementsAre("sms_update_route(1, 1, 65537, 1, 10.9.0.0, 16, 10.1.2.1, "
                                      "2130903040, 70000, 40000, 6)",
                                      "sms_update_route(1, 1, 65537, 2, 2001:db8:9::, 48, "
                                      "2001:db8::1, 2130903040, 70000, 40000, 6)"));
}

TEST_F(StaticRoutesTest, RemoveRouteSendsADestroyedRowThatIsDown) {
  RemoveRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"));
}

TEST_F(StaticRoutesTest, EnableRouteSendsAnActiveRowThatIsUp) {
  EnableRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"));
}

TEST_F(StaticRoutesTest, DisableRouteSendsAnActiveRowThatIsDown) {
  DisableRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"));
}

TEST_F(StaticRoutesTest, EnablingAPendingRouteLosesItsMetricAndType) {
  AddRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX, 6, STATIC, DOWN);
  EnableRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"));
}

struct MaskCase {
  Ip4Addr mask;
  int length;
};

TEST_F(StaticRoutesTest, TheLengthIsTheNumberOfBitsOfTheMaskContiguousOrNot) {
  for (const MaskCase& c :
       {MaskCase{Ip4Addr(0, 0, 0, 0), 0}, MaskCase{Ip4Addr(255, 0, 0, 0), 8},
        MaskCase{Ip4Addr(255, 255, 255, 255), 32}, MaskCase{Ip4Addr(0, 0, 0, 255), 8},
        MaskCase{Ip4Addr(255, 0, 255, 0), 16}, MaskCase{Ip4Addr(1, 1, 1, 1), 4}}) {
    RemoveRoute(VLAN, IP4_ANY, c.mask, GATEWAY, IF_INDEX);
    EXPECT_THAT(Requests(), ElementsAre("sms_update_route(1, 6, 2, 1, 0.0.0.0, " +
                                        std::to_string(c.length) + ", 10.1.2.1, 0, 3, 10, 0)"));
  }
}

TEST_F(StaticRoutesTest, Ip6AddRouteUsesThePrefixsOwnAddress) {
  EXPECT_EQ(AddRoute(VLAN, Ip6("2001:db8:ffff::1"), PREFIX6, GATEWAY6, IF_INDEX, 6, STATIC, UP), 1);
  EXPECT_THAT(Requests(), ElementsAre("sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, "
                                      "196608, 3, 32778, 6)"));
}

TEST_F(StaticRoutesTest, TheOtherIp6FunctionsUseTheAddressArgument) {
  const Ip6Prefix prefix(Ip6("2001:db8:ffff::"), 48);
  RemoveRoute(VLAN, NETWORK6, prefix, GATEWAY6, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 6, 2, 2, 2001:db8:9::, 48, 2001:db8::1, 0, "
                          "3, 32778, 0)"));
  EnableRoute(VLAN, NETWORK6, prefix, GATEWAY6, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 0, "
                          "3, 32778, 0)"));
  DisableRoute(VLAN, NETWORK6, prefix, GATEWAY6, IF_INDEX);
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 2, 2, 2001:db8:9::, 48, 2001:db8::1, 0, "
                          "3, 32778, 0)"));
}

TEST_F(StaticRoutesTest, ARouteComesToTheTableAndGoes) {
  AddRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX, 6, STATIC, UP);
  AddRoute(VLAN, NETWORK6, PREFIX6, GATEWAY6, IF_INDEX, 6, STATIC, UP);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Dump(), testing::HasSubstr("10.9.0.0"));
  EXPECT_THAT(Dump(), testing::HasSubstr("2001:db8:9::"));
  RemoveRoute(VLAN, NETWORK, MASK, GATEWAY, IF_INDEX);
  RemoveRoute(VLAN, PREFIX6.GetAddress(), PREFIX6, GATEWAY6, IF_INDEX);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Dump(), testing::Not(testing::HasSubstr("10.9.0.0")));
  EXPECT_THAT(Dump(), testing::Not(testing::HasSubstr("2001:db8:9::")));
}

TEST_F(StaticRoutesTest, RoutesOfAnUnknownVlanWait) {
  AddRoute(77, NETWORK, MASK, GATEWAY, IF_INDEX, 6, STATIC, UP);
  EXPECT_THAT(Requests(), IsEmpty());
  Reload(R"({"VLAN_CONFIGURATIONS": [{"vid": 10}, {"vid": 77}]})", "vlans");
  EXPECT_THAT(Requests(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                          "3, 77, 6)"));
}

}  // namespace
