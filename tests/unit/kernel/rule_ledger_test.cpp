// What the ledger of rules asks the kernel for, and what it makes of answers and comparisons.

#include "device/kernel/rule_ledger.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "fake_rules.h"

namespace {

using kernel::Rule;
using test_kernel::OddRule;
using test_kernel::RuleFor;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

const kernel::Rules BOTH = {RuleFor("r2", 20), RuleFor("r2")};

class RuleLedger : public testing::Test {
 protected:
  /// As after a start, with nothing of an earlier run to keep.
  void Begin() {
    Compare();
    ledger.BeginSweep();
  }
  /// Sends everything in batches of `most`, and returns what was asked for.
  std::vector<std::string> SendAll(std::size_t most = 100) {
    fake.requests.clear();
    while (ledger.HasRequests()) {
      kernel::RuleBatch batch;
      ledger.FillBatch(batch, most);
      EXPECT_FALSE(ledger.HasRequests()) << "one batch after the other";
      for (const kernel::Answer& answer : fake.Work(batch.Finish())) {
        ledger.TakeAnswer(answer);
      }
      EXPECT_FALSE(ledger.HasUnanswered());
    }
    return fake.requests;
  }
  void Compare() {
    ledger.BeginComparison();
    for (const bool isIp6 : {false, true}) {
      for (const kernel::FoundRule& found : fake.Dump(isIp6)) {
        ledger.TakeFound(found);
      }
    }
    ledger.EndComparison();
  }
  void RefuseAll(int error) {
    fake.refuse = [error](const Rule&, bool) { return error; };
  }

  std::uint64_t now = 1000;
  kernel::RuleLedger ledger{[this] { return now; }};
  test_kernel::FakeRules fake;
};

TEST_F(RuleLedger, WhatIsWantedIsAddedOnceAndTheEndComesFirst) {
  Begin();
  ledger.Want({RuleFor("r2", 20), RuleFor("r2"), RuleFor("r2", 20, true), RuleFor("r2", 0, true)});
  EXPECT_THAT(SendAll(1), ElementsAre("+ iif r2 unreachable", "+ iif r2 unreachable of IPv6",
                                      "+ iif r2 lookup 20", "+ iif r2 lookup 20 of IPv6"));
  EXPECT_EQ(4u, ledger.CountWanted());
  EXPECT_EQ(4u, ledger.CountStanding());
  EXPECT_EQ(4u, ledger.GetTotals().added);
  ledger.Want(fake.ours);
  EXPECT_THAT(SendAll(), IsEmpty());
}

// No packet is looked up in two VLANs' tables, nor in the main table.
TEST_F(RuleLedger, AnotherTableComesWhenTheOldOneHasGone) {
  Begin();
  ledger.Want(BOTH);
  SendAll();
  ledger.Want({RuleFor("r2", 30), RuleFor("r2")});
  EXPECT_THAT(SendAll(), ElementsAre("- iif r2 lookup 20", "+ iif r2 lookup 30"));
}

TEST_F(RuleLedger, TheEndGoesLast) {
  Begin();
  ledger.Want(BOTH);
  SendAll();
  ledger.Want({});
  EXPECT_THAT(SendAll(), ElementsAre("- iif r2 lookup 20", "- iif r2 unreachable"));
  EXPECT_EQ(2u, ledger.GetTotals().deleted);
  EXPECT_EQ(0u, ledger.CountStanding());
}

TEST_F(RuleLedger, WhatIsMissingIsPutBackAndWhatIsStrayGoes) {
  Begin();
  ledger.Want(BOTH);
  SendAll();
  fake.ours = {RuleFor("r2"), RuleFor("r3"), OddRule(5), OddRule(6, true)};
  Compare();
  EXPECT_THAT(ledger.GetComparison().missing, ElementsAre(RuleFor("r2", 20)));
  EXPECT_THAT(ledger.GetComparison().strays, SizeIs(3));
  EXPECT_EQ(1u, ledger.GetTotals().missing);
  EXPECT_EQ(3u, ledger.GetTotals().strays);
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_THAT(SendAll(), SizeIs(4));
  EXPECT_EQ(BOTH, fake.ours);
  Compare();
  EXPECT_THAT(ledger.GetComparison().missing, IsEmpty());
  EXPECT_THAT(ledger.GetComparison().strays, IsEmpty());
}

TEST_F(RuleLedger, WhatIsWantedBetweenTwoComparisonsIsNotMissing) {
  Begin();
  ledger.Want(BOTH);
  Compare();
  EXPECT_THAT(ledger.GetComparison().missing, IsEmpty());
  EXPECT_EQ(0u, ledger.CountStanding());
  SendAll();
  EXPECT_EQ(2u, ledger.CountStanding());
}

TEST_F(RuleLedger, RulesOfAnEarlierRunStayUntilTheSweep) {
  fake.ours = {RuleFor("r2", 20), RuleFor("r2"), RuleFor("r3", 30), RuleFor("r3"), OddRule(5)};
  Compare();
  ledger.Want(BOTH);
  EXPECT_THAT(SendAll(), IsEmpty());
  EXPECT_TRUE(ledger.IsLearning());
  EXPECT_THAT(ledger.GetComparison().strays, IsEmpty());
  ledger.BeginSweep();
  EXPECT_FALSE(ledger.IsLearning());
  EXPECT_THAT(SendAll(), SizeIs(3));
  EXPECT_EQ(BOTH, fake.ours);
}

// Its packets would be looked up in two VLANs' tables.
TEST_F(RuleLedger, AnInterfaceOfAnotherVlanThanInTheEarlierRunDoesNotWait) {
  fake.ours = {RuleFor("r2", 30), RuleFor("r2"), RuleFor("r2", 30, true)};
  Compare();
  ledger.Want(BOTH);
  EXPECT_THAT(SendAll(), ElementsAre("- iif r2 lookup 30", "+ iif r2 lookup 20"));
  EXPECT_EQ(1u, fake.ours.count(RuleFor("r2", 30, true))) << "of IPv6 nothing is wanted yet";
}

TEST_F(RuleLedger, ARefusedRuleIsAskedForAgainInTime) {
  Begin();
  ledger.Want(BOTH);
  RefuseAll(EPERM);
  EXPECT_THAT(SendAll(), SizeIs(2));
  EXPECT_EQ(2u, ledger.CountRefused());
  EXPECT_EQ(0u, ledger.CountStanding());
  EXPECT_EQ("Operation not permitted",
            kernel::DescribeRefusal(ledger.GetRefusals().at(RuleFor("r2"))));
  EXPECT_FALSE(ledger.GetRefusals().at(RuleFor("r2")).isOfDeletion);
  EXPECT_THAT(ledger.FindNextTry(), Optional(2000u));
  now = 1999;
  ledger.AskAgain(false);
  EXPECT_THAT(SendAll(), IsEmpty());
  now = 2000;
  ledger.AskAgain(false);
  EXPECT_THAT(SendAll(), SizeIs(2));
  EXPECT_THAT(ledger.FindNextTry(), Optional(4000u)) << "twice as long";
  fake.refuse = nullptr;
  ledger.AskAgain(true);
  EXPECT_THAT(SendAll(), SizeIs(2));
  EXPECT_EQ(0u, ledger.CountRefused());
  EXPECT_FALSE(ledger.FindNextTry());
}

TEST_F(RuleLedger, ARefusedDeletionIsADifferenceUntilTheRuleHasGoneOrIsWanted) {
  Begin();
  ledger.Want(BOTH);
  SendAll();
  RefuseAll(EPERM);
  ledger.Want({});
  SendAll();
  EXPECT_EQ(2u, ledger.CountRefused());
  EXPECT_TRUE(ledger.GetRefusals().at(RuleFor("r2")).isOfDeletion);
  ledger.Want({RuleFor("r2")});
  EXPECT_EQ(1u, ledger.CountRefused());
  fake.ours = {RuleFor("r2")};
  Compare();
  EXPECT_EQ(0u, ledger.CountRefused());
  EXPECT_THAT(SendAll(), IsEmpty());
}

TEST_F(RuleLedger, ARefusalStopsNoOther) {
  Begin();
  fake.refuse = [](const Rule& rule, bool) { return rule.EndsLookup() ? ENOMEM : 0; };
  ledger.Want(BOTH);
  SendAll();
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_EQ(1u, ledger.CountRefused());
}

TEST_F(RuleLedger, ARefusalIsOverWhenTheRuleIsFoundOrNotWanted) {
  Begin();
  RefuseAll(EEXIST);
  ledger.Want({RuleFor("r2"), RuleFor("r3")});
  SendAll();
  fake.ours = {RuleFor("r2")};
  Compare();
  EXPECT_EQ(1u, ledger.CountRefused());
  ledger.Want({RuleFor("r2")});
  EXPECT_EQ(0u, ledger.CountRefused());
}

TEST_F(RuleLedger, WhatHasGoneAlreadyIsDeleted) {
  Begin();
  ledger.Want(BOTH);
  SendAll();
  fake.ours.clear();
  ledger.Want({});
  EXPECT_THAT(SendAll(), SizeIs(2));
  EXPECT_EQ(0u, ledger.CountRefused());
}

TEST_F(RuleLedger, LostAnswersAreWhatAComparisonTells) {
  Begin();
  ledger.Want(BOTH);
  kernel::RuleBatch batch;
  ledger.FillBatch(batch, 100);
  EXPECT_TRUE(ledger.HasUnanswered());
  fake.Work(batch.Finish());
  ledger.LoseAnswers();
  EXPECT_FALSE(ledger.HasUnanswered());
  Compare();
  EXPECT_EQ(2u, ledger.CountStanding());
  EXPECT_THAT(SendAll(), IsEmpty());
}

TEST_F(RuleLedger, WhatIsWantedWhileABatchIsOnItsWayComesAfterIt) {
  Begin();
  ledger.Want(BOTH);
  kernel::RuleBatch batch;
  ledger.FillBatch(batch, 1);
  ledger.Want({RuleFor("r3")});
  EXPECT_FALSE(ledger.HasRequests());
  for (const kernel::Answer& answer : fake.Work(batch.Finish())) {
    ledger.TakeAnswer(answer);
  }
  EXPECT_THAT(SendAll(), ElementsAre("+ iif r3 unreachable", "- iif r2 unreachable"));
}

TEST_F(RuleLedger, AnswersThatNobodyWaitsForCountForNothing) {
  Begin();
  ledger.Want(BOTH);
  kernel::RuleBatch batch;
  ledger.FillBatch(batch, 100);
  ledger.TakeAnswer({4711, 0, {}});
  EXPECT_TRUE(ledger.HasUnanswered());
  EXPECT_EQ(0u, ledger.CountStanding());
}

TEST_F(RuleLedger, AMachineWithoutIp6HasNoRulesOfIt) {
  ledger.SetHasIp6(false);
  Begin();
  ledger.Want({RuleFor("r2", 20), RuleFor("r2", 20, true)});
  EXPECT_THAT(SendAll(), ElementsAre("+ iif r2 lookup 20"));
  EXPECT_EQ(1u, ledger.CountWanted());
  ledger.SetHasIp6(true);
  EXPECT_THAT(SendAll(), ElementsAre("+ iif r2 lookup 20 of IPv6"));
  EXPECT_EQ(2u, ledger.CountWanted());
}

}  // namespace
