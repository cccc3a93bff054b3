#include "device/apply/redistribution_feeder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/support/device_fixture.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using intent::Destination;
using intent::Rules;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr intent::Sources STATIC = 1, CONNECTED = 2, BGP = 16;

constexpr Destination RIP4{10, false, 0x80000};
constexpr Destination BGP4{10, false, 0xE0000};
constexpr Destination BGP6{10, true, 0xE0000};
constexpr Destination OSPF4{10, false, 0xD0000};

class RedistributionFeeder : public test_support::DeviceFixture {
 protected:
  void SetUp() override { Start(10); }

  void LoadVlan(
      const std::string& members = R"("RIPV2": {"enabled": true}, "BGP": {"enabled": true})") {
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, )" + members + "}}}", "vlans.json");
  }

  // The stack's rules as source, destination, and instance.
  std::vector<std::string> StackRules() {
    std::vector<std::string> lines;
    for (const auto& row : Control().Redistributions()) {
      char line[64];
      std::snprintf(line, sizeof line, "%x to %x in %u", row.source, row.destination, row.vlan);
      lines.push_back(line);
    }
    return lines;
  }
  std::vector<std::string> TakeRequests() {
    std::vector<std::string> requests;
    for (const std::string& call : TakeCalls()) {
      if (call.find("redist") != std::string::npos) {
        requests.push_back(call);
      }
    }
    return requests;
  }

  // Returns how many requests that took.
  std::size_t Push(const Rules& wanted) {
    feeder.Begin(std::make_shared<const Rules>(wanted));
    const std::size_t count = feeder.Continue(100);
    EXPECT_TRUE(feeder.IsDone());
    return count;
  }
  std::size_t Withdraw(const Rules& wanted) {
    return Push(intent::FindStayingRules(*feeder.GetWanted(), wanted));
  }

  apply::RedistributionFeeder feeder;
};

TEST_F(RedistributionFeeder, AsksForRulesOfBothFamilies) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Push({{RIP4, STATIC | BGP}, {BGP6, CONNECTED}}), 3u);
  EXPECT_FALSE(feeder.IsWaiting());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(),
              UnorderedElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 917504, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 131072, 917504, 32778, 0)"));
  EXPECT_THAT(StackRules(), UnorderedElementsAre("30000 to 80000 in 10", "e0000 to 80000 in 10",
                                                 "20000 to e0000 in 32778"));
}

TEST_F(RedistributionFeeder, LooksAtNoMoreDestinationsAtOnceThanItMay) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{BGP4, STATIC}});
  feeder.Begin(std::make_shared<const Rules>(Rules{{RIP4, STATIC | BGP}, {BGP6, CONNECTED}}));
  EXPECT_FALSE(feeder.IsDone());
  EXPECT_EQ(feeder.Continue(1), 2u);
  EXPECT_EQ(feeder.Continue(1), 1u);
  EXPECT_THAT(feeder.GetAsked(), ElementsAre(testing::Pair(RIP4, STATIC | BGP)));
  EXPECT_EQ(feeder.Continue(1), 1u);
  EXPECT_TRUE(feeder.IsDone());
  EXPECT_EQ(feeder.Continue(1), 0u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(StackRules(), UnorderedElementsAre("30000 to 80000 in 10", "e0000 to 80000 in 10",
                                                 "20000 to e0000 in 32778"));
}

TEST_F(RedistributionFeeder, ForgetsWhatItHasBegun) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  feeder.Begin(std::make_shared<const Rules>(Rules{{RIP4, STATIC | BGP}}));
  feeder.Forget();
  EXPECT_TRUE(feeder.IsDone());
  EXPECT_EQ(feeder.Continue(1), 0u);
}

TEST_F(RedistributionFeeder, AsksForDifferencesOnly) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{RIP4, STATIC | BGP}});
  EXPECT_EQ(Push({{RIP4, STATIC | BGP}}), 0u);
  ASSERT_TRUE(Settle());
  TakeCalls();
  EXPECT_EQ(Push({{RIP4, STATIC | CONNECTED}}), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(),
              UnorderedElementsAre("sms_act_cipr_redist(6, 2, 917504, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 131072, 524288, 10, 0)"));
  EXPECT_EQ(Push({}), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_THAT(feeder.GetAsked(), IsEmpty());
}

// Asked at once, each of them would be thrown away: BGP's readiness is that of the IPv4 instance,
// and its IPv6 rules are let through with the IPv6 instance.
TEST_F(RedistributionFeeder, WaitsUntilTheProtocolIsReady) {
  Control().Hold();
  LoadVlan();
  EXPECT_EQ(Push({{RIP4, STATIC}, {BGP6, STATIC}}), 0u);
  EXPECT_TRUE(feeder.IsWaiting());
  loop.AdvanceMilliseconds(1000);
  EXPECT_TRUE(feeder.IsWaiting());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(feeder.IsWaiting());
  EXPECT_THAT(StackRules(),
              UnorderedElementsAre("30000 to 80000 in 10", "30000 to e0000 in 32778"));
}

TEST_F(RedistributionFeeder, AsksAgainWhenAProtocolHasBecomeReadyOnceMore) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{RIP4, STATIC}, {BGP4, STATIC}});
  ASSERT_TRUE(Settle());
  // The instances go with their rules, and come back.
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  Push({{RIP4, STATIC}});
  EXPECT_TRUE(feeder.IsWaiting());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(StackRules(), IsEmpty());
  TakeCalls();
  LoadVlan();
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(feeder.IsWaiting());
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_THAT(TakeRequests(), ElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)",
                                          "sms_act_cipr_redist(6, 2, 196608, 917504, 10, 0)"));
}

TEST_F(RedistributionFeeder, WithdrawsWithoutAskingForAnythingNew) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{RIP4, STATIC | CONNECTED}, {BGP4, STATIC}});
  ASSERT_TRUE(Settle());
  TakeCalls();
  EXPECT_EQ(Withdraw({{RIP4, STATIC | BGP}, {OSPF4, STATIC}}), 2u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(),
              UnorderedElementsAre("sms_act_cipr_redist(6, 2, 131072, 524288, 10, 0)",
                                   "sms_act_cipr_redist(6, 2, 196608, 917504, 10, 0)"));
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
}

TEST_F(RedistributionFeeder, StopsWaitingForWhatIsNoLongerWanted) {
  Control().Hold();
  LoadVlan();
  Push({{RIP4, STATIC}});
  EXPECT_EQ(Withdraw({}), 0u);
  EXPECT_FALSE(feeder.IsWaiting());
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(RedistributionFeeder, WithdrawsLateWhatADisabledProtocolWasLeftWith) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{RIP4, STATIC}});
  ASSERT_TRUE(Settle());
  LoadVlan(R"("BGP": {"enabled": true})");
  EXPECT_EQ(Push({}), 0u);
  EXPECT_FALSE(feeder.IsWaiting());
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  LoadVlan();
  EXPECT_EQ(Push({}), 1u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(StackRules(), IsEmpty());
}

TEST_F(RedistributionFeeder, ForgetsTheRulesOfAVlanThatHasGone) {
  LoadVlan();
  ASSERT_TRUE(Settle());
  Push({{RIP4, STATIC}});
  Manager().DeleteVlan(10);
  EXPECT_EQ(Push({}), 0u);
  EXPECT_FALSE(feeder.IsWaiting());
  EXPECT_THAT(feeder.GetAsked(), IsEmpty());
}

}  // namespace
