// Keys, insertion, replacement, the timer, the printed forms.
#include <climits>

#include "scheduler_fixture.h"

namespace Tarsel {
namespace {

using test_models::ScriptedItem;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CfgKeyCompareTest, OrdersByInstanceThenByRowTypeUnsigned) {
  const CfgKeyCompare less;
  EXPECT_TRUE(less({1, 9}, {2, 1}));
  EXPECT_FALSE(less({2, 1}, {1, 9}));
  EXPECT_TRUE(less({1, 1}, {1, 2}));
  EXPECT_FALSE(less({1, 2}, {1, 1}));
  EXPECT_FALSE(less({1, 1}, {1, 1}));
  EXPECT_TRUE(less({INT_MAX, 0}, {0x80000000, 0}));
  EXPECT_TRUE(less({1, INT_MAX}, {1, 0x80000000}));
}

class CfgSchedInsert : public SchedulerFixture {};

TEST_F(CfgSchedInsert, FirstInsertStartsTheTimerOfHundredTicks) {
  EXPECT_FALSE(sched.IsRunning());
  EXPECT_STREQ("CfgScheduler", sched.GetName());
  Insert(KEY, 1, 1);
  EXPECT_TRUE(sched.IsRunning());
  loop.AdvanceMilliseconds(99);
  EXPECT_THAT(log.Take(), IsEmpty());
  loop.AdvanceMilliseconds(1);
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

// The identifiers of these two rows have the same hash.
TEST_F(CfgSchedInsert, RowsThatLookAlikeAreKeptApart) {
  constexpr unsigned int ROW = 119576;
  constexpr unsigned int LIKE_IT = 132608;
  Insert(KEY, 1, 1);
  Insert(KEY, ROW, 2);
  Tick();
  log.Take();
  Remove(KEY, 1);  // what is expected next is the row behind
  log.Take();
  Insert(KEY, LIKE_IT, 3);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(Order(), ElementsAre(2, 3));
  Remove(KEY, LIKE_IT);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 3 yes 1"));
  EXPECT_THAT(Order(), ElementsAre(2, 3));
}

TEST_F(CfgSchedInsert, ARowIsNotTheOneThatItsIdentifierBegins) {
  const unsigned int longer[] = {1, 2, 3};
  Insert(KEY, 9, 1);
  ScriptedItem* item = New(1, 2);
  item->oid.SetOid(longer, 3);
  sched.Insert(KEY, item);
  Tick();
  Remove(KEY, 9);  // what is expected next is the row behind
  log.Take();
  ScriptedItem shorter(probes, 1, -1);
  shorter.oid.SetOid(longer, 2);
  sched.Remove(KEY, &shorter, 1);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(Order(), ElementsAre(2));
}

TEST_F(CfgSchedInsert, FurtherInsertsDoNotRestartTheTimer) {
  Insert(KEY, 1, 1);
  loop.AdvanceMilliseconds(60);
  Insert(KEY, 2, 2);
  loop.AdvanceMilliseconds(39);
  EXPECT_THAT(log.Take(), IsEmpty());
  loop.AdvanceMilliseconds(1);
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 2"));
}

TEST_F(CfgSchedInsert, TheTimerIsPeriodicAndNeverStops) {
  Insert(KEY, 1, 1);
  loop.AdvanceMilliseconds(100);
  Remove(KEY, 1);
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
  EXPECT_TRUE(sched.IsRunning());
  loop.AdvanceMilliseconds(1000);
  EXPECT_TRUE(sched.IsRunning());
  log.Take();
  Insert(KEY, 2, 2);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
}

TEST_F(CfgSchedInsert, AStoppedTimerIsStartedByTheNextInsert) {
  Insert(KEY, 1, 1);
  sched.Stop();
  Insert(KEY, 1, 2);  // a replacement, too
  EXPECT_TRUE(sched.IsRunning());
}

TEST_F(CfgSchedInsert, ANullItemIsIgnored) {
  sched.Insert(KEY, nullptr);
  EXPECT_FALSE(sched.IsRunning());
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedInsert, DifferentRowsAreAppended) {
  Insert(KEY, 3, 1);
  Insert(KEY, 1, 2);
  Insert(KEY, 2, 3);
  EXPECT_THAT(Order(), ElementsAre(1, 2, 3));
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(CfgSchedInsert, AnEmptyBucketTakesTheItemWithoutAskingIt) {
  Insert(KEY, 1, 1);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(CfgSchedInsert, TheSameRowInAnotherBucketIsAnotherItem) {
  Insert(KEY, 1, 1);
  Insert(LATER, 1, 2);
  Insert({10, 0x3D000002}, 1, 3);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(Order(), ElementsAre(3, 1, 2));
  EXPECT_EQ("Pending Item Buckets: 3\n", Summary());
}

TEST_F(CfgSchedInsert, AFrontItemIsReplacedInItsPlace) {
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  Insert(KEY, 1, 3);
  EXPECT_THAT(log.Take(), ElementsAre("replace 3 1", "end 1"));
  EXPECT_THAT(traces.Take(), ElementsAre("5:REPLACED ------- 2 item.............\n"));
  EXPECT_THAT(Order(), ElementsAre(3, 2));
}

TEST_F(CfgSchedInsert, AnOnlyItemIsReplacedAsTheFrontOne) {
  Insert(KEY, 1, 1);
  Insert(KEY, 1, 2);
  EXPECT_THAT(traces.Take(), ElementsAre("5:REPLACED ------- 2 item.............\n"));
  EXPECT_THAT(Order(), ElementsAre(2));
}

TEST_F(CfgSchedInsert, AnyOtherReplacementGoesOnePositionForward) {
  for (int id = 1; id <= 4; ++id) {
    Insert(KEY, static_cast<unsigned int>(id), id);
  }
  Insert(KEY, 3, 13);
  EXPECT_THAT(log.Take(), ElementsAre("replace 13 3", "end 3"));
  EXPECT_THAT(traces.Take(), ElementsAre("5:REPLACED ------- 1 item.............\n"));
  EXPECT_THAT(Order(), ElementsAre(1, 13, 2, 4));
  Insert(KEY, 4, 14);
  EXPECT_THAT(Order(), ElementsAre(1, 13, 14, 2));
  Insert(KEY, 3, 23);  // second: comes to the front
  EXPECT_THAT(Order(), ElementsAre(23, 1, 14, 2));
}

TEST_F(CfgSchedInsert, AnIssuedItemMayBeReplaced) {
  Insert(KEY, 1, 1);
  Tick();
  log.Take();
  Insert(KEY, 1, 2);
  EXPECT_THAT(log.Take(), ElementsAre("replace 2 1", "end 1"));
  EXPECT_EQ("==== Item 0 ====\n2 row 1 New reason 0 retries 0\n\n", Print());
}

TEST_F(CfgSchedInsert, ARefusedReplacementAppendsADuplicate) {
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  ScriptedItem* item = New(1, 3);
  item->replaces = false;
  sched.Insert(KEY, item);
  EXPECT_THAT(log.Take(), ElementsAre("replace 3 1"));
  EXPECT_THAT(traces.Take(), IsEmpty());
  EXPECT_THAT(Order(), ElementsAre(1, 2, 3));
}

class CfgSchedDuplicates : public SchedulerFixture {
 protected:
  void InsertRefusing(unsigned int row, int id) {
    ScriptedItem* item = New(row, id);
    item->replaces = false;
    sched.Insert(KEY, item);
  }
};

TEST_F(CfgSchedDuplicates, TheOneNearestTheBackIsTheCandidate) {
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  InsertRefusing(1, 3);
  Insert(KEY, 4, 4);
  InsertRefusing(1, 5);
  log.Take();
  Insert(KEY, 1, 6);
  EXPECT_THAT(log.Take(), ElementsAre("replace 6 5", "end 5"));
  EXPECT_THAT(Order(), ElementsAre(1, 2, 3, 6, 4));
  Insert(KEY, 1, 7);
  EXPECT_THAT(log.Take(), ElementsAre("replace 7 6", "end 6"));
  EXPECT_THAT(Order(), ElementsAre(1, 2, 7, 3, 4));
}

// The replacement overtakes its predecessor of the same row, which thereby becomes the candidate.
TEST_F(CfgSchedDuplicates, AReplacementMayOvertakeADuplicate) {
  Insert(KEY, 2, 1);
  Insert(KEY, 1, 2);
  InsertRefusing(1, 3);
  log.Take();
  Insert(KEY, 1, 4);
  EXPECT_THAT(log.Take(), ElementsAre("replace 4 3", "end 3"));
  EXPECT_THAT(Order(), ElementsAre(1, 4, 2));
  Insert(KEY, 1, 5);
  EXPECT_THAT(log.Take(), ElementsAre("replace 5 2", "end 2"));
  EXPECT_THAT(Order(), ElementsAre(1, 5, 4));
}

TEST_F(CfgSchedDuplicates, OvertakingTheFrontMakesTheNewOneTheFirst) {
  Insert(KEY, 1, 1);
  InsertRefusing(1, 2);
  Insert(KEY, 1, 3);
  EXPECT_THAT(Order(), ElementsAre(3, 1));
  Remove(KEY, 1, 7);
  EXPECT_THAT(Take("in-mib"), ElementsAre("in-mib 3 yes 7"));
}

TEST_F(CfgSchedDuplicates, ThreeInARow) {
  Insert(KEY, 1, 1);
  InsertRefusing(1, 2);
  InsertRefusing(1, 3);
  Insert(KEY, 1, 4);
  EXPECT_THAT(Order(), ElementsAre(1, 4, 2));
  Insert(KEY, 1, 5);
  EXPECT_THAT(Order(), ElementsAre(1, 5, 4));
  Insert(KEY, 1, 6);
  EXPECT_THAT(Order(), ElementsAre(1, 6, 5));
}

TEST_F(CfgSchedDuplicates, AnswersFindTheFirstOneLeft) {
  Insert(KEY, 1, 1);
  InsertRefusing(1, 2);
  InsertRefusing(1, 3);
  Tick();
  log.Take();
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "end 1"));
  Insert(KEY, 1, 4);
  EXPECT_THAT(log.Take(), ElementsAre("replace 4 3", "end 3"));
  EXPECT_THAT(Order(), ElementsAre(4, 2));
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 4 yes 1"));  // New: stays
  Tick();
  Remove(KEY, 1);
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(),
              ElementsAre("send 4", "in-mib 4 yes 1", "end 4", "in-mib 2 yes 1", "end 2"));
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

class CfgSchedPrint : public SchedulerFixture {};

TEST_F(CfgSchedPrint, NumbersItemsOverAllBucketsInKeyOrder) {
  Insert(LATER, 1, 3);
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  EXPECT_EQ(
      "==== Item 0 ====\n1 row 1 New reason 0 retries 0\n\n"
      "==== Item 1 ====\n2 row 2 New reason 0 retries 0\n\n"
      "==== Item 2 ====\n3 row 1 New reason 0 retries 0\n\n",
      Print());
}

TEST_F(CfgSchedPrint, EmptySchedulerHasNothingAndZeroBuckets) {
  EXPECT_EQ("", Print());
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedPrint, SummaryCountsBucketsNotItems) {
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  Insert(LATER, 1, 3);
  EXPECT_EQ("Pending Item Buckets: 2\n", Summary());
}

TEST(CfgItemTest, StateTexts) {
  EXPECT_STREQ("New", CfgItem::StateText(CfgItem::NEW));
  EXPECT_STREQ("Issued", CfgItem::StateText(CfgItem::ISSUED));
  EXPECT_STREQ("Invalid", CfgItem::StateText(static_cast<CfgItem::ACTION_ITEM_STATE>(2)));
  EXPECT_STREQ("Invalid", CfgItem::StateText(static_cast<CfgItem::ACTION_ITEM_STATE>(-1)));
}

class PlainItem : public CfgItem {
 public:
  bool CfgListReady() override { return true; }
  bool CfgItemReady() override { return true; }
  void PrintItem(DcConsole*) const override {}
  void Send() override {}
  const MibOid& GetOid() override { return m_oid; }

 private:
  MibOid m_oid;
};

TEST(CfgItemTest, BaseBehaviour) {
  PlainItem item;
  EXPECT_EQ(CfgItem::NEW, item.GetActionState());
  EXPECT_EQ(0U, item.GetReasonCode());
  EXPECT_EQ(0U, item.GetRetryCount());
  EXPECT_TRUE(item.Replace(nullptr));
  EXPECT_FALSE(item.RemoveOnNotReady());
  EXPECT_FALSE(item.IsInFlight(0, 0));
  item.SetInMib(true, 5);
  EXPECT_EQ(0U, item.GetReasonCode());
  EXPECT_EQ(CfgItem::NEW, item.GetActionState());
  item.SetActionState(CfgItem::ISSUED);
  item.SetReasonCode(0xFFFFFFFFUL);
  EXPECT_EQ(CfgItem::ISSUED, item.GetActionState());
  EXPECT_EQ(0xFFFFFFFFU, item.GetReasonCode());
}

class CfgSchedEnd : public SchedulerFixture {};

TEST_F(CfgSchedEnd, DestructionEndsTheItemsAndTheTimer) {
  {
    CfgSched shortLived;
    shortLived.Insert(KEY, New(1, 1));
    shortLived.Insert(KEY, New(2, 2));
    shortLived.Insert(LATER, New(1, 3));
    shortLived.OnTimeout(0, nullptr);
    log.Take();
  }
  EXPECT_THAT(log.Take(), ElementsAre("end 1", "end 2", "end 3"));
  EXPECT_TRUE(log.alive.empty());
  EXPECT_FALSE(loop.RunNext());
}

// What an item does at its end may depend on whether the stack still has its request.
TEST_F(CfgSchedEnd, DestructionEndsItemsAsNewOnes) {
  std::string ends;
  {
    CfgSched shortLived;
    ScriptedItem* item = New(1, 1);
    item->onEnd = [&ends, item] {
      ends = std::string(CfgItem::StateText(item->GetActionState())) + " " +
             std::to_string(item->GetReasonCode()) + " " + std::to_string(item->GetRetryCount());
    };
    shortLived.Insert(KEY, item);
    shortLived.OnTimeout(0, nullptr);
    ScriptedItem probe(probes, 1, -1);
    shortLived.Update(KEY, &probe, 5, false);
  }
  EXPECT_EQ("New 0 0", ends);
}

}  // namespace
}  // namespace Tarsel
