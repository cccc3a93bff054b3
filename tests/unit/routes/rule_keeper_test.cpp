#include "device/routes/rule_keeper.h"

#include "tests/unit/routes/rule_keeper_fixture.h"
#include "vantacore/dc_router_base.h"

namespace {

using namespace routes_test;
using rows::RuleRow;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Kind = rows::Standing::Kind;

using RuleKeeper = RuleKeeperFixture;

TEST_F(RuleKeeper, AsksForRulesOfBothFamilies) {
  StartWithVlan();
  Want({{RIP4, STATIC | BGP}, {BGP6, CONNECTED}});
  EXPECT_EQ(keeper.CountWanted(), 3u);
  EXPECT_EQ(keeper.CountOpen(), 1u);
  Turn();
  EXPECT_EQ(keeper.CountOpen(), 3u);
  EXPECT_EQ(keeper.CountUnderWay(), 3u);
  EXPECT_EQ(keeper.GetProgress(), 3u);
  Run(300);
  EXPECT_FALSE(keeper.IsWaiting());
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(keeper.GetProgress(), 6u);
  EXPECT_EQ(keeper.CountConcluded(), 3u);
  EXPECT_THAT(TakeRequests(),
              UnorderedElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 917504, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 131072, 917504, 32778, 0)"));
  EXPECT_THAT(StackRules(), UnorderedElementsAre("30000 to 80000 in 10", "e0000 to 80000 in 10",
                                                 "20000 to e0000 in 32778"));
  EXPECT_THAT(PendingItems(), IsEmpty());
}

// A turn that asks for another one for nothing takes all of the processor.
TEST_F(RuleKeeper, LetsTheLoopRestWhenNothingIsLeft) {
  StartWithVlan();
  Want({{RIP4, STATIC | BGP}, {BGP6, CONNECTED}});
  EXPECT_NE(uv_loop_alive(turns.Get()), 0);
  Run(300);
  EXPECT_EQ(uv_loop_alive(turns.Get()), 0);
}

TEST_F(RuleKeeper, AsksForDifferencesOnly) {
  StartWithVlan();
  Push({{RIP4, STATIC | BGP}});
  TakeCalls();
  Push({{RIP4, STATIC | BGP}});
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Push({{RIP4, STATIC | CONNECTED}});
  EXPECT_EQ(keeper.CountWanted(), 2u);
  EXPECT_THAT(TakeRequests(),
              UnorderedElementsAre("sms_act_cipr_redist(6, 2, 917504, 524288, 10, 0)",
                                   "sms_act_cipr_redist(1, 1, 131072, 524288, 10, 0)"));
  EXPECT_THAT(keeper.GetAsked(), ElementsAre(testing::Pair(RIP4, STATIC | CONNECTED)));
  Push({});
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
}

// Asked for at once, each of them would be thrown away: BGP's readiness is that of the IPv4
// instance, and its IPv6 rules are let through with the IPv6 instance.
TEST_F(RuleKeeper, WaitsUntilTheProtocolIsReady) {
  Control().Hold();
  LoadVlan();
  Push({{RIP4, STATIC}, {BGP6, STATIC}});
  EXPECT_TRUE(keeper.IsWaiting());
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(Look(), Kind::EQUAL);
  EXPECT_THAT(Pass(), IsEmpty());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Control().Release();
  Run(500);
  EXPECT_FALSE(keeper.IsWaiting());
  EXPECT_THAT(StackRules(),
              UnorderedElementsAre("30000 to 80000 in 10", "30000 to e0000 in 32778"));
}

// Between the moment when the protocol is ready and the look at it.
TEST_F(RuleKeeper, HasARuleUnderWayThatIsAboutToBeRequested) {
  Control().Hold();
  LoadVlan();
  Push({{RIP4, STATIC}});
  Control().Release();
  while (!Manager().GetDcRouterByVID(10, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->IsReady()) {
    loop.AdvanceMilliseconds(1);
  }
  EXPECT_EQ(Look(), Kind::UNDER_WAY);
  const std::uint64_t now = port.Now();
  Want({{RIP4, STATIC | BGP}});
  EXPECT_EQ(Look({RIP4, intent::CODE_BGP}), Kind::UNDER_WAY);
  EXPECT_EQ(keeper.Look(RuleRow{RIP4, intent::CODE_BGP}).since, now);
}

TEST_F(RuleKeeper, StopsWaitingForWhatIsNotWantedAnyMore) {
  Control().Hold();
  LoadVlan();
  Push({{RIP4, STATIC}});
  Push({});
  EXPECT_FALSE(keeper.IsWaiting());
  Control().Release();
  Run(500);
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(RuleKeeper, AsksAgainWhenAProtocolHasBecomeReadyOnceMore) {
  StartWithVlan();
  Push({{RIP4, STATIC}, {BGP4, STATIC}});
  // The instances go with their rules, and come back.
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  Push({{RIP4, STATIC}});
  EXPECT_TRUE(keeper.IsWaiting());
  EXPECT_THAT(StackRules(), IsEmpty());
  TakeCalls();
  LoadVlan();
  Run(500);
  EXPECT_FALSE(keeper.IsWaiting());
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_THAT(TakeRequests(), ElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)"));
}

// ---- withdrawals

TEST_F(RuleKeeper, WithdrawsWhatADisabledProtocolWasLeftWith) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  LoadVlan(R"("BGP": {"enabled": true})");
  Push({});
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
}

TEST_F(RuleKeeper, WithdrawsFromAProtocolThatIsDisabledMeanwhile) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Refuse(5, 3);
  Want({});
  Run(120);
  EXPECT_EQ(keeper.CountRetried(), 1u);
  LoadVlan("\"RTM\": {}");
  EXPECT_TRUE(keeper.HasLeavingRules(10));
  Run(1000);
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  EXPECT_EQ(keeper.CountRetried(), 0u);
  EXPECT_THAT(StackRules(), IsEmpty());
}

TEST_F(RuleKeeper, KnowsWhichVlansHaveRulesThatHaveToGo) {
  StartWithVlan();
  Push({{RIP4, STATIC}, {BGP6, STATIC}});
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  Want({{RIP4, STATIC}});
  EXPECT_TRUE(keeper.HasLeavingRules(10));
  EXPECT_FALSE(keeper.HasLeavingRules(9));
  EXPECT_FALSE(keeper.HasLeavingRules(11));
  Run(300);
  EXPECT_FALSE(keeper.HasLeavingRules(10));
}

// It goes with its instance.
TEST_F(RuleKeeper, DoesNotCountARefusedWithdrawalAsLeaving) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Refuse(3, 100);
  Want({});
  Run(1200);
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  EXPECT_THAT(
      lines, ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is still in the stack: "
                         "wrong value (status 3)"));
  Control().ClearScripts();
  Run(2000);
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_EQ(differences.Count(), 0u);
}

}  // namespace
