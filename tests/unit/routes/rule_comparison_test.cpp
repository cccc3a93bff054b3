// Rules that go with their VLAN, and rules that are held against those of the stack.
#include "tests/unit/routes/rule_keeper_fixture.h"

namespace {

using namespace routes_test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Kind = rows::Standing::Kind;

using RuleComparison = RuleKeeperFixture;

TEST_F(RuleComparison, ForgetsTheRulesOfAVlanThatHasGone) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Refuse(3, 100);
  Push({{RIP4, STATIC | BGP}});
  Control().Hold();
  Push({{RIP4, STATIC | BGP | CONNECTED}});
  Manager().DeleteVlan(10);
  keeper.ForgetVlan(10);
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
  Control().Release();
  Push({});
  EXPECT_FALSE(keeper.IsWaiting());
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(PendingItems(), IsEmpty());
  EXPECT_FALSE(keeper.HasLeavingRules(10));
}

// A VLAN that comes back is a new one. What is wanted of it is asked for without another SetWanted.
TEST_F(RuleComparison, AsksForTheRulesOfAVlanThatHasComeBack) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Manager().DeleteVlan(10);
  LoadVlan();
  keeper.ForgetVlan(10);
  Run(350);
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(RuleComparison, ForgetsEverything) {
  StartWithVlan();
  Refuse(3, 1);
  Push({{RIP4, STATIC}});
  Want({{RIP4, STATIC | BGP}, {BGP4, STATIC}});
  Turn();
  keeper.Forget();
  differences.Forget();
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
  EXPECT_THAT(*keeper.GetWanted(), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 0u);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(keeper.CountUnderWay(), 0u);
  TakeCalls();
  Run(3000);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(PendingItems(), IsEmpty());
}

// An answer that has come and was not looked at is one of the old stack, too.
TEST_F(RuleComparison, ForgetsWhatItHasHeard) {
  StartWithVlan();
  Want({{RIP4, STATIC}});
  Turn();
  loop.AdvanceMilliseconds(200);
  ASSERT_EQ(StackRules().size(), 1u);
  EXPECT_NE(keeper.CountOpen(), 0u);
  keeper.Forget();
  EXPECT_EQ(keeper.CountOpen(), 0u);
  Turn();
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
}

TEST_F(RuleComparison, BringsARuleBackThatTheStackHasLost) {
  StartWithVlan();
  Push({{RIP4, STATIC}, {BGP4, STATIC}});
  ChangeInStack(STATIC_TO_RIP, false);
  EXPECT_THAT(Pass(1),
              ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is missing in "
                          "the stack"));
  differences.Note(STATIC_TO_RIP, keeper.Look(STATIC_TO_RIP));
  Run(900);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Run(400);
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(StackRules(), UnorderedElementsAre("30000 to 80000 in 10", "30000 to e0000 in 10"));
}

TEST_F(RuleComparison, WithdrawsAStray) {
  StartWithVlan();
  Push({{BGP4, STATIC}});
  ChangeInStack(STATIC_TO_RIP, true);
  ChangeInStack({RIP4, intent::CODE_BGP}, true);
  EXPECT_THAT(Pass(1),
              UnorderedElementsAre(
                  "VLAN 10: redistribution of static routes to RIPv2 is still in the stack",
                  "VLAN 10: redistribution of BGP routes to RIPv2 is still in the stack"));
  differences.Note(STATIC_TO_RIP, keeper.Look(STATIC_TO_RIP));
  Run(1200);
  EXPECT_THAT(StackRules(), UnorderedElementsAre("30000 to e0000 in 10", "e0000 to 80000 in 10"));
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(keeper.GetAsked(), ElementsAre(testing::Pair(BGP4, STATIC)));
}

// The VLAN must not go before it.
TEST_F(RuleComparison, HasAStrayThatIsBeingWithdrawn) {
  StartWithVlan();
  ChangeInStack(STATIC_TO_RIP, true);
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  keeper.AskAgain(STATIC_TO_RIP);
  EXPECT_TRUE(keeper.HasLeavingRules(10));
  EXPECT_THAT(keeper.GetAsked(), ElementsAre(testing::Pair(RIP4, STATIC)));
  Run(300);
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  EXPECT_THAT(StackRules(), IsEmpty());
}

// They go with their instance; nothing can be asked of it.
TEST_F(RuleComparison, LeavesStraysOfAnInstanceThatTheLibraryDoesNotKnow) {
  StartWithVlan();
  ChangeInStack(STATIC_TO_RIP, true);
  Control().Hold();
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  EXPECT_EQ(StackRules().size(), 1u);
  EXPECT_EQ(Look(), Kind::EQUAL);
  EXPECT_THAT(Pass(), IsEmpty());
}

TEST_F(RuleComparison, TellsOfRequestsForRulesThatAreNeitherWantedNorThere) {
  StartWithVlan();
  Control().Hold();
  Push({{RIP4, STATIC}});
  Push({});
  Run(1000);
  EXPECT_THAT(Pass(),
              ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is under way"));
  const rows::Standing standing = keeper.Look(STATIC_TO_RIP);
  EXPECT_NEAR(static_cast<double>(port.Now() - standing.since), 2000, 10);
}

}  // namespace
