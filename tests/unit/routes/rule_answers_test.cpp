// What the stack answers to requests for rules, and what it never does.
#include "tests/unit/routes/rule_keeper_fixture.h"

namespace {

using namespace routes_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = rows::Standing::Kind;

using RuleAnswers = RuleKeeperFixture;

// The stack is busy for longer than ten tries.
TEST_F(RuleAnswers, AsksAgainForWhatWasGivenUp) {
  StartWithVlan();
  Refuse(5, 12);
  Push({{RIP4, STATIC}});
  EXPECT_EQ(keeper.CountRetried(), 1u);
  EXPECT_EQ(keeper.CountOpen(), 1u);
  EXPECT_EQ(Look(), Kind::UNDER_WAY);
  Run(700);
  EXPECT_EQ(TakeRequests().size(), 10u);
  EXPECT_EQ(keeper.CountRetried(), 0u);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(keeper.CountUnderWay(), 0u);
  EXPECT_EQ(Look(), Kind::MISSING);
  EXPECT_EQ(differences.Count(), 1u);
  EXPECT_THAT(PendingItems(), HasSubstr("ReasonCode(5)"));
  Run(1000);
  EXPECT_EQ(keeper.CountUnderWay(), 1u);
  EXPECT_EQ(keeper.CountOpen(), 0u);  // known as a difference
  Run(500);
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_EQ(Look(), Kind::EQUAL);
  EXPECT_THAT(PendingItems(), IsEmpty());
  EXPECT_THAT(lines,
              ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is missing in the "
                          "stack: try again (status 5)",
                          "VLAN 10: redistribution of static routes to RIPv2 is as wanted now"));
}

TEST_F(RuleAnswers, AsksAgainForWhatWasRefused) {
  StartWithVlan();
  Refuse(3, 2);
  Push({{RIP4, STATIC}});
  EXPECT_THAT(TakeRequests(), testing::SizeIs(1));
  EXPECT_EQ(keeper.Look(STATIC_TO_RIP).status, 3u);
  EXPECT_THAT(Pass(), ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is missing in "
                                  "the stack: wrong value (status 3)"));
  Push({{RIP4, STATIC}});  // nothing new for the keeper
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Run(4000);
  EXPECT_THAT(TakeRequests(), testing::SizeIs(2));
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(PendingItems(), IsEmpty());
}

TEST_F(RuleAnswers, TakesRepeatsForNoProgress) {
  StartWithVlan();
  Refuse(3, 3);
  Want({{RIP4, STATIC}});
  Run(300);
  ASSERT_EQ(differences.Count(), 1u);
  EXPECT_EQ(keeper.GetProgress(), 2u);
  Run(10000);
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_EQ(keeper.CountConcluded(), 4u) << "three refusals and a success";
  EXPECT_EQ(keeper.GetProgress(), 2u);
}

TEST_F(RuleAnswers, ForgetsARefusalThatIsNotWantedAnyMore) {
  StartWithVlan();
  Refuse(3, 100);
  Push({{RIP4, STATIC}});
  ASSERT_EQ(differences.Count(), 1u);
  Push({});
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(TakeRequests(), testing::SizeIs(1));
  EXPECT_THAT(PendingItems(), IsEmpty());
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
}

TEST_F(RuleAnswers, WantsAgainWhatCouldNotBeWithdrawn) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Refuse(3, 100);
  Push({});
  Run(1000);
  ASSERT_EQ(differences.Count(), 1u);
  Push({{RIP4, STATIC}});
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(keeper.GetAsked(), ElementsAre(testing::Pair(RIP4, STATIC)));
  EXPECT_THAT(PendingItems(), IsEmpty());
}

TEST_F(RuleAnswers, AsksAgainForWhatIsNeverAnswered) {
  StartWithVlan();
  AnswerNever();
  Push({{RIP4, STATIC}});
  Run(5000);
  EXPECT_EQ(Look(), Kind::UNDER_WAY);
  EXPECT_EQ(keeper.CountOpen(), 1u);
  EXPECT_EQ(differences.Count(), 0u);
  Control().EndLostRequests();
  EXPECT_EQ(Look(), Kind::MISSING);
  Run(1100);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(differences.Count(), 1u);
  Run(1200);
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_EQ(differences.Count(), 0u);
}

TEST_F(RuleAnswers, AsksAgainForAWithdrawalThatIsNeverAnswered) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  AnswerNever();
  Push({});
  EXPECT_TRUE(keeper.HasLeavingRules(10));
  Control().EndLostRequests();
  Run(3000);
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_FALSE(keeper.HasLeavingRules(10));
  EXPECT_EQ(differences.Count(), 0u);
}

TEST_F(RuleAnswers, TakesAnAnswerThatComesTwiceOrLate) {
  StartWithVlan();
  Control().Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kTwice, 0, 0},
                   1);
  Control().Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kLate, 0, 3000},
                   1);
  Push({{RIP4, STATIC | BGP}});
  EXPECT_EQ(keeper.CountOpen(), 1u);
  Push({{RIP4, STATIC}});
  Run(4000);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  Push({});
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
}

// However short the scheduler's period is.
TEST_F(RuleAnswers, TriesForASecond) {
  Tarsel::TimerLoop::SetTickMicroseconds(10);
  StartWithVlan();
  Refuse(5, 1000);
  const std::uint64_t begin = port.Now();
  Want({{RIP4, STATIC}});
  while (differences.Count() == 0) {
    Run(1);
  }
  EXPECT_EQ(TakeRequests().size(), 10u);
  EXPECT_GE(port.Now() - begin, 850u);
  EXPECT_LE(port.Now() - begin, 1000u);
}

// What has been sent is answered before the next request of the row.
TEST_F(RuleAnswers, HasOneRequestOfARowAtATime) {
  StartWithVlan();
  Control().Hold();
  Push({{RIP4, STATIC}});
  Push({});
  Push({{RIP4, STATIC}});
  Push({});
  EXPECT_THAT(TakeRequests(), ElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)"));
  Control().Release();
  Run(500);
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_EQ(keeper.CountOpen(), 0u);
}

TEST_F(RuleAnswers, DoesNotSendWhatIsNotWantedAnyMore) {
  StartWithVlan();
  Want({{RIP4, STATIC}});
  Turn();
  ASSERT_EQ(keeper.CountUnderWay(), 1u);
  Push({});
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(PendingItems(), IsEmpty());
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
}

// The library drops the item of a protocol that is not ready when its turn comes.
TEST_F(RuleAnswers, WaitsWhenItsItemIsDropped) {
  StartWithVlan();
  Want({{RIP4, STATIC}});
  Turn();
  LoadVlan(R"("BGP": {"enabled": true})");
  Run(300);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(keeper.GetAsked(), IsEmpty());
  LoadVlan();
  Push({{RIP4, STATIC}});
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
}

}  // namespace
