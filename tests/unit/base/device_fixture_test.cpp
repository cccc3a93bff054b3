// The device fixture on the real library and stack: what the other suites rely on.
#include "tests/support/device_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vantacore/static_routes.h"

using Tarsel::Ip4Addr;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const char ONE_VLAN[] = R"({"VLAN_CONFIGURATIONS": {"vlan10": {"vid": 10}}})";

class TheDevice : public test_support::DeviceFixture {};

}  // namespace

TEST_F(TheDevice, StartsTheStackOnItsOwnTime) {
  Start(7);
  EXPECT_EQ(Manager().GetVlanId(), 7);
  EXPECT_THAT(Calls(), ElementsAre(StartsWith("smsi_init(")));
  EXPECT_EQ(loop.Now(), 0u);
  EXPECT_EQ(Control().CountOf(routing_stack::Call::kNbbScheduler), 0u);
  EXPECT_TRUE(traces.Contains("10:Initializing Manager\n"));
  loop.AdvanceMilliseconds(5);
  EXPECT_EQ(Control().CountOf(routing_stack::Call::kNbbScheduler), 1u);
}

TEST_F(TheDevice, SettlesWhenNothingHasHappenedForThreePeriods) {
  Start();
  ASSERT_TRUE(Settle());
  const std::uint64_t before = loop.Now();
  TakeCalls();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(loop.Now() - before, 300000u);
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(TheDevice, SettlesOnlyAfterTheLastRequestAndItsAnswer) {
  Start();
  ASSERT_TRUE(Reload(ONE_VLAN, "vlans.json"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), Contains(StartsWith("sms_act_rtm(")).Times(2));
  EXPECT_THAT(Control().Instances(), ElementsAre(10u, 0x800Au));
  Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 6,
                   0x30000, 1);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), ElementsAre(StartsWith("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16")));
  EXPECT_NE(Dump().find("10.9.0.0"), std::string::npos);
}

TEST_F(TheDevice, DoesNotSettleWhileTheStackIsHeld) {
  Start();
  ASSERT_TRUE(Settle());
  Control().Hold();
  ASSERT_TRUE(Reload(ONE_VLAN, "vlans.json"));
  const std::uint64_t before = loop.Now();
  EXPECT_FALSE(Settle(2000));
  EXPECT_EQ(loop.Now() - before, 2000000u);
  Control().Release();
  EXPECT_TRUE(Settle());
}

TEST_F(TheDevice, WritesDownWhatTheHostIsAskedForDescriptors) {
  Start();
  ASSERT_TRUE(Settle());
  Control().RegisterDescriptor(5, 7, 1, [](int) {});
  loop.AdvanceMilliseconds(200);
  Control().UnregisterDescriptor(5, 7);
  loop.AdvanceMilliseconds(200);
  EXPECT_THAT(sockets.calls, ElementsAre("register fd=5 mode=1 id=7", "remove fd=5 id=7"));
}

TEST_F(TheDevice, AnswersWhichInterfacesAreUp) {
  ipInterface.up.insert({10, 3});
  EXPECT_TRUE(ipInterface.IsInterfaceUp(10, 3));
  EXPECT_FALSE(ipInterface.IsInterfaceUp(10, 4));
  EXPECT_FALSE(ipInterface.IsInterfaceUp(11, 3));
}

TEST_F(TheDevice, WithdrawsADocument) {
  Start();
  ASSERT_TRUE(Reload(ONE_VLAN, "vlans.json"));
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(Reload("{}", "vlans.json"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Control().Instances(), IsEmpty());
  EXPECT_TRUE(Manager().GetVlans().empty());
}
