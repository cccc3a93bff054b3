// Rules on a stack that shows other tables, or none.
#include "tests/unit/routes/rule_keeper_fixture.h"
#include "tests/unit/rows/fake_stack_port.h"

namespace {

using namespace routes_test;
using intent::Rules;
using rows::RuleRow;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = rows::Standing::Kind;

class RulesBlindly : public RuleKeeperFixture {
 protected:
  void PushBlindly(const Rules& wanted) {
    blindKeeper.SetWanted(std::make_shared<const Rules>(wanted));
    Run(500);
  }

  rows_test::FakeStackPort otherPort{loop};
  rows::Differences blindDifferences{
      turns.Get(), otherPort, [this](const std::string& line) { lines.push_back(line); },
      [this](const rows::Row&) -> rows::Keeper& { return blindKeeper; }};
  routes::RuleKeeper blindKeeper{turns.Get(), otherPort, blindDifferences};
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

// Whether that has changed anything is not known, so it is asked for again.
TEST_F(RulesBlindly, AreAskedForWhenTheyAreWantedAgainAfterARefusedWithdrawal) {
  StartWithVlan();
  otherPort.isReady = false;
  PushBlindly({{RIP4, STATIC}});
  Refuse(3, 10);
  PushBlindly({});
  Run(600);
  ASSERT_EQ(blindDifferences.Count(), 1u);
  TakeRequests();
  PushBlindly({{RIP4, STATIC}});
  EXPECT_THAT(TakeRequests(), ElementsAre("sms_act_cipr_redist(1, 1, 196608, 524288, 10, 0)"));
  EXPECT_EQ(blindKeeper.Look(STATIC_TO_RIP).kind, Kind::EQUAL);
  EXPECT_EQ(blindDifferences.Count(), 0u);
  EXPECT_EQ(StackRules().size(), 1u);
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

}  // namespace
