// Update, Remove, Reset and the in-flight queries.
#include "scheduler_fixture.h"

namespace Tarsel {
namespace {

using test_models::ScriptedItem;
using testing::ElementsAre;
using testing::IsEmpty;

class CfgSchedAnswer : public SchedulerFixture {
 protected:
  ScriptedItem* InsertAndSend(unsigned int row, int id) {
    ScriptedItem* item = Insert(KEY, row, id);
    Tick();
    log.Take();
    traces.Take();
    return item;
  }
};

TEST_F(CfgSchedAnswer, RemoveEndsAnIssuedItemAndItsEmptyBucket) {
  InsertAndSend(1, 1);
  Remove(KEY, 1, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "end 1"));
  EXPECT_THAT(traces.Take(), ElementsAre("5:Removing the handle\n"));
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedAnswer, RemoveKeepsTheBucketWhileItHoldsOthers) {
  InsertAndSend(1, 1);
  InsertAndSend(2, 2);
  Remove(KEY, 1, 6);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 6", "end 1"));
  EXPECT_THAT(Order(), ElementsAre(2));
}

TEST_F(CfgSchedAnswer, RemoveOfANewItemOnlyTellsIt) {
  Insert(KEY, 1, 1);
  Remove(KEY, 1, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1"));
  EXPECT_THAT(traces.Take(), IsEmpty());
  EXPECT_EQ("==== Item 0 ====\n1 row 1 New reason 0 retries 0\n\n", Print());
}

TEST_F(CfgSchedAnswer, RemoveOfAnUnknownRowOrBucketChangesNothing) {
  InsertAndSend(1, 1);
  Remove(KEY, 2);
  Remove(LATER, 1);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(Order(), ElementsAre(1));
}

TEST_F(CfgSchedAnswer, RemoveLooksAtTheFirstOfTheRowOnly) {
  Insert(KEY, 1, 1);
  ScriptedItem* duplicate = New(1, 2);
  duplicate->replaces = false;
  sched.Insert(KEY, duplicate);
  duplicate->SetActionState(CfgItem::ISSUED);
  log.Take();
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1"));  // the first is New, the second stays too
  EXPECT_THAT(Order(), ElementsAre(1, 2));
}

TEST_F(CfgSchedAnswer, UpdateTakesTheFirstIssuedOfTheRow) {
  Insert(KEY, 1, 1);
  for (int id = 2; id <= 3; ++id) {
    ScriptedItem* duplicate = New(1, id);
    duplicate->replaces = false;
    sched.Insert(KEY, duplicate);
    duplicate->SetActionState(CfgItem::ISSUED);
  }
  Update(KEY, 1, 3, false);
  EXPECT_EQ(
      "==== Item 0 ====\n1 row 1 New reason 0 retries 0\n\n"
      "==== Item 1 ====\n2 row 1 Issued reason 3 retries 1\n\n"
      "==== Item 2 ====\n3 row 1 Issued reason 0 retries 0\n\n",
      Print());
}

TEST_F(CfgSchedAnswer, NullProbesAndMissingBucketsAreIgnored) {
  sched.Update(KEY, nullptr, 5, true);
  sched.Remove(KEY, nullptr, 5);
  Update(KEY, 1, 5, true);
  Remove(KEY, 1, 5);
  InsertAndSend(1, 1);
  sched.Update(KEY, nullptr, 5, true);
  sched.Remove(KEY, nullptr, 5);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 0 retries 0\n\n", Print());
}

TEST_F(CfgSchedAnswer, UpdateOfANewItemChangesNothing) {
  Insert(KEY, 1, 1);
  Update(KEY, 1, 5, true);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 New reason 0 retries 0\n\n", Print());
}

TEST_F(CfgSchedAnswer, UpdateWithRetryMakesTheItemNewAndCounts) {
  InsertAndSend(1, 1);
  Update(KEY, 1, 5, true);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 New reason 5 retries 1\n\n", Print());
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 5 retries 1\n\n", Print());
}

TEST_F(CfgSchedAnswer, UpdateWithStatusOneDoesNotCount) {
  InsertAndSend(1, 1);
  for (int i = 0; i < 20; ++i) {
    Update(KEY, 1, 1, true);
    EXPECT_EQ("==== Item 0 ====\n1 row 1 New reason 1 retries 0\n\n", Print());
    Tick();
  }
  EXPECT_EQ(20U, CountSends());
}

TEST_F(CfgSchedAnswer, UpdateWithoutRetryCountsAndLeavesTheItemIssued) {
  InsertAndSend(1, 1);
  Update(KEY, 1, 3, false);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 3 retries 1\n\n", Print());
  Update(KEY, 1, 1, false);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 1 retries 1\n\n", Print());
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(CfgSchedAnswer, TheTenthCountedFailureLeavesTheItemIssuedForEver) {
  InsertAndSend(1, 1);
  for (int i = 1; i <= 9; ++i) {
    Update(KEY, 1, 5, true);
    Tick();
    EXPECT_EQ(1U, CountSends()) << i;
  }
  Update(KEY, 1, 5, true);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 5 retries 10\n\n", Print());
  for (int i = 0; i < 3; ++i) {
    Tick();
    Update(KEY, 1, 1, true);  // not even after a success that asks for a repetition
  }
  EXPECT_THAT(log.Take(), IsEmpty());
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "end 1"));
}

TEST_F(CfgSchedAnswer, AnswersWithoutRetryUseUpTheRetries) {
  InsertAndSend(1, 1);
  for (int i = 0; i < 9; ++i) {
    Update(KEY, 1, 5, false);
  }
  Update(KEY, 1, 5, true);
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 5 retries 10\n\n", Print());
}

TEST_F(CfgSchedAnswer, AnOldAnswerMeetsTheNewerItem) {
  InsertAndSend(1, 1);
  Insert(KEY, 1, 2);
  Tick();
  log.Take();
  Remove(KEY, 1, 1);  // the answer to item 1
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 2 yes 1", "end 2"));
  Update(KEY, 1, 5, true);  // the answer to item 2 finds nothing
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedAnswer, AnOldAnswerLeavesAReplacementThatIsStillNew) {
  InsertAndSend(1, 1);
  Insert(KEY, 1, 2);
  log.Take();
  Remove(KEY, 1, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 2 yes 1"));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
}

TEST_F(CfgSchedAnswer, ResetMakesEverythingNew) {
  InsertAndSend(1, 1);
  ScriptedItem* other = Insert(LATER, 2, 2);
  Tick();
  Update(KEY, 1, 5, false);
  other->SetActionState(static_cast<CfgItem::ACTION_ITEM_STATE>(9));
  sched.Reset();
  EXPECT_EQ(
      "==== Item 0 ====\n1 row 1 New reason 0 retries 0\n\n"
      "==== Item 1 ====\n2 row 2 New reason 0 retries 0\n\n",
      Print());
  log.Take();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 2"));
}

// An item that writes down what it is told of its state and reason.
class ListeningItem : public ScriptedItem {
 public:
  using ScriptedItem::ScriptedItem;
  void SetActionState(ACTION_ITEM_STATE state) override {
    log.lines.push_back(std::string("state ") + StateText(state));
    ScriptedItem::SetActionState(state);
  }
  void SetReasonCode(unsigned long code) override {
    log.lines.push_back("reason " + std::to_string(code));
    ScriptedItem::SetReasonCode(code);
  }
};

TEST_F(CfgSchedAnswer, TheItemHearsOfItsReasonAndOfBeingNewAgain) {
  sched.Insert(KEY, new ListeningItem(log, 1, 1));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "state Issued"));
  Update(KEY, 1, 5, false);
  EXPECT_THAT(log.Take(), ElementsAre("reason 5"));
  Update(KEY, 1, 1, true);
  EXPECT_THAT(log.Take(), ElementsAre("reason 1", "state New"));
  sched.Reset();
  EXPECT_THAT(log.Take(), ElementsAre("reason 0", "state New"));
}

class CfgSchedInFlight : public SchedulerFixture {
 protected:
  void ExpectBoth(int expected, CfgKey key, unsigned int a, unsigned int b) {
    EXPECT_EQ(expected, sched.RouteMapInFlight(key, a, b));
    EXPECT_EQ(expected, sched.AggrAddrInFlight(key, a, b));
  }
};

TEST_F(CfgSchedInFlight, AsksIssuedItemsOfTheBucketOnly) {
  ExpectBoth(0, KEY, 3, 4);
  Insert(KEY, 1, 1);
  ScriptedItem* item = Insert(KEY, 2, 2);
  item->inFlight = {3, 4};
  ExpectBoth(0, KEY, 3, 4);
  Tick();
  ExpectBoth(1, KEY, 3, 4);
  ExpectBoth(0, KEY, 4, 3);
  ExpectBoth(0, LATER, 3, 4);
  Update(KEY, 2, 5, true);
  ExpectBoth(0, KEY, 3, 4);
}

TEST_F(CfgSchedInFlight, AnEmptyBucketHasNothingInFlight) {
  for (int id = 1; id <= 31; ++id) {
    ScriptedItem* item = New(static_cast<unsigned int>(id), id);
    item->itemReady = false;
    item->removeOnNotReady = true;
    sched.Insert(KEY, item);
  }
  Tick();
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
  ExpectBoth(0, KEY, 0, 0);
}

}  // namespace
}  // namespace Tarsel
