#include "device/apply/rule_keeper.h"

#include "tests/unit/apply/fake_stack_port.h"
#include "tests/unit/apply/rule_keeper_fixture.h"
#include "vantacore/dc_router_base.h"

namespace {

using namespace apply_test;
using apply::RuleRow;
using intent::Rules;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using Kind = apply::Standing::Kind;

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

// ---- answers

// The stack is busy for longer than ten tries.
TEST_F(RuleKeeper, AsksAgainForWhatWasGivenUp) {
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

TEST_F(RuleKeeper, AsksAgainForWhatWasRefused) {
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

TEST_F(RuleKeeper, TakesRepeatsForNoProgress) {
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

TEST_F(RuleKeeper, ForgetsARefusalThatIsNotWantedAnyMore) {
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

TEST_F(RuleKeeper, WantsAgainWhatCouldNotBeWithdrawn) {
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

TEST_F(RuleKeeper, AsksAgainForWhatIsNeverAnswered) {
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

TEST_F(RuleKeeper, AsksAgainForAWithdrawalThatIsNeverAnswered) {
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

TEST_F(RuleKeeper, TakesAnAnswerThatComesTwiceOrLate) {
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
TEST_F(RuleKeeper, TriesForASecond) {
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
TEST_F(RuleKeeper, HasOneRequestOfARowAtATime) {
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

TEST_F(RuleKeeper, DoesNotSendWhatIsNotWantedAnyMore) {
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
TEST_F(RuleKeeper, WaitsWhenItsItemIsDropped) {
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

// ---- what goes, and what is compared

TEST_F(RuleKeeper, ForgetsTheRulesOfAVlanThatHasGone) {
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
TEST_F(RuleKeeper, AsksForTheRulesOfAVlanThatHasComeBack) {
  StartWithVlan();
  Push({{RIP4, STATIC}});
  Manager().DeleteVlan(10);
  LoadVlan();
  keeper.ForgetVlan(10);
  Run(350);
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(RuleKeeper, ForgetsEverything) {
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

TEST_F(RuleKeeper, BringsARuleBackThatTheStackHasLost) {
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

TEST_F(RuleKeeper, WithdrawsAStray) {
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

// They go with their instance; nothing can be asked of it.
TEST_F(RuleKeeper, LeavesStraysOfAnInstanceThatTheLibraryDoesNotKnow) {
  StartWithVlan();
  ChangeInStack(STATIC_TO_RIP, true);
  Control().Hold();
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  EXPECT_EQ(StackRules().size(), 1u);
  EXPECT_EQ(Look(), Kind::EQUAL);
  EXPECT_THAT(Pass(), IsEmpty());
}

TEST_F(RuleKeeper, TellsOfRequestsForRulesThatAreNeitherWantedNorThere) {
  StartWithVlan();
  Control().Hold();
  Push({{RIP4, STATIC}});
  Push({});
  Run(1000);
  EXPECT_THAT(Pass(),
              ElementsAre("VLAN 10: redistribution of static routes to RIPv2 is under way"));
  const apply::Standing standing = keeper.Look(STATIC_TO_RIP);
  EXPECT_NEAR(static_cast<double>(port.Now() - standing.since), 2000, 10);
}

// ---- a stack that shows other tables, or none

class RulesBlindly : public RuleKeeperFixture {
 protected:
  void PushBlindly(const Rules& wanted) {
    blindKeeper.SetWanted(std::make_shared<const Rules>(wanted));
    Run(500);
  }

  FakeStackPort otherPort{loop};
  apply::Differences blindDifferences{
      turns.Get(), otherPort, [this](const std::string& line) { lines.push_back(line); },
      [this](const apply::Row&) -> apply::Keeper& { return blindKeeper; }};
  apply::RuleKeeper blindKeeper{turns.Get(), otherPort, blindDifferences};
};

TEST_F(RulesBlindly, AreKnownByTheirAnswers) {
  StartWithVlan();
  otherPort.isReady = false;
  PushBlindly({{RIP4, STATIC}, {BGP4, STATIC}});
  EXPECT_EQ(StackRules().size(), 2u);
  EXPECT_EQ(blindKeeper.CountOpen(), 0u);
  EXPECT_EQ(blindKeeper.Look(STATIC_TO_RIP).kind, Kind::EQUAL);
  TakeCalls();
  PushBlindly({{RIP4, STATIC}});
  EXPECT_THAT(TakeRequests(), ElementsAre("sms_act_cipr_redist(6, 2, 196608, 917504, 10, 0)"));
  Refuse(3, 2);
  PushBlindly({{RIP4, STATIC | BGP}});
  EXPECT_EQ(blindKeeper.Look(RuleRow{RIP4, intent::CODE_BGP}).kind, Kind::MISSING);
  EXPECT_EQ(blindDifferences.Count(), 1u);
  Run(4000);
  EXPECT_EQ(blindDifferences.Count(), 0u);
  EXPECT_EQ(StackRules().size(), 2u);
  PushBlindly({});
  EXPECT_THAT(StackRules(), IsEmpty());
}

TEST_F(RulesBlindly, AreStillThereWhenAWithdrawalIsRefused) {
  StartWithVlan();
  otherPort.isReady = false;
  PushBlindly({{RIP4, STATIC}});
  Refuse(3, 10);
  PushBlindly({});
  Run(600);
  EXPECT_EQ(blindKeeper.Look(STATIC_TO_RIP).kind, Kind::UNWANTED);
  EXPECT_EQ(blindDifferences.Count(), 1u);
}

// It would be asked for in each period otherwise.
TEST_F(RulesBlindly, AreDifferencesWhenTheyWereAcceptedAndAreNotThere) {
  StartWithVlan();
  PushBlindly({{RIP4, STATIC}});
  EXPECT_EQ(TakeRequests().size(), 1u);
  EXPECT_EQ(blindDifferences.Count(), 1u);
  Run(2000);
  EXPECT_EQ(TakeRequests().size(), 1u);
  otherPort.rules.insert(STATIC_TO_RIP);
  Run(4000);
  EXPECT_EQ(blindDifferences.Count(), 0u);
  PushBlindly({});
  EXPECT_EQ(blindDifferences.Count(), 1u);
  EXPECT_EQ(blindKeeper.Look(STATIC_TO_RIP).kind, Kind::UNWANTED);
  EXPECT_FALSE(blindKeeper.HasLeavingRules(10));
}

TEST_F(RulesBlindly, AreNotRequestedIfTheyAreThere) {
  StartWithVlan();
  otherPort.rules.insert(STATIC_TO_RIP);
  PushBlindly({{RIP4, STATIC}});
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(blindKeeper.GetAsked(), ElementsAre(testing::Pair(RIP4, STATIC)));
  otherPort.rules.clear();
  PushBlindly({});
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(blindKeeper.GetAsked(), IsEmpty());
}

// ---- many

class ManyRules : public RuleKeeperFixture {
 protected:
  void LoadVlans(unsigned int count) {
    std::string entries;
    for (unsigned int vid = 100; vid < 100 + count; ++vid) {
      entries += (vid == 100 ? "\"" : ", \"") + std::to_string(vid) +
                 "\": {\"vid\": " + std::to_string(vid) +
                 R"(, "RIPV2": {"enabled": true}, "BGP": {"enabled": true}})";
      for (const std::uint32_t code : {intent::CODE_RIP, intent::CODE_BGP}) {
        wanted[{static_cast<unsigned short>(vid), false, code}] = STATIC | CONNECTED | OSPF;
      }
    }
    Reload("{\"VLAN_CONFIGURATIONS\": {" + entries + "}}", "vlans.json");
    ASSERT_TRUE(Settle());
  }
  Rules wanted;
};

TEST_F(ManyRules, AreLookedAtInSlices) {
  LoadVlans(200);
  Want(wanted);
  Turn();
  EXPECT_EQ(keeper.CountUnderWay(), 3 * apply::RuleKeeper::DESTINATIONS_A_TURN);
  // Those that are still to be looked at are under way; a later VLAN's is.
  EXPECT_EQ(Look({{299, false, intent::CODE_RIP}, intent::CODE_STATIC}), Kind::UNDER_WAY);
  EXPECT_EQ(Pass(10).size(), 1200u);
  EXPECT_EQ(keeper.CountOpen(), 3 * apply::RuleKeeper::DESTINATIONS_A_TURN + 1);
  Turn();
  EXPECT_EQ(keeper.CountUnderWay(), 1200u);
  Run(5000);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(StackRules().size(), 1200u);
  EXPECT_THAT(Pass(10), IsEmpty());
}

TEST_F(ManyRules, AreRequestedInAWindow) {
  LoadVlans(800);
  Tarsel::TimerLoop::SetTickMicroseconds(100);
  Want(wanted);
  std::size_t most = 0;
  for (int i = 0; i < 5000 && StackRules().size() < 4800; ++i) {
    Run(1);
    most = std::max(most, keeper.CountUnderWay());
  }
  EXPECT_GE(most, apply::RuleKeeper::WINDOW);
  EXPECT_LT(most, apply::RuleKeeper::WINDOW + 5);
  Run(100);
  EXPECT_EQ(StackRules().size(), 4800u);
  EXPECT_EQ(keeper.CountOpen(), 0u);
}

// A stack that gives nothing back: there is room again when its lost requests have ended.
TEST_F(ManyRules, GoOnWhenAFullWindowIsLost) {
  LoadVlans(800);
  Tarsel::TimerLoop::SetTickMicroseconds(10);
  Control().Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kNever, 0, 0},
                   5000);
  Want(wanted);
  Run(1000);
  ASSERT_GE(keeper.CountUnderWay(), apply::RuleKeeper::WINDOW);
  Control().ClearScripts();
  Control().EndLostRequests();
  Run(60000);
  EXPECT_EQ(StackRules().size(), 4800u);
  EXPECT_EQ(differences.Count(), 0u);
}

}  // namespace
