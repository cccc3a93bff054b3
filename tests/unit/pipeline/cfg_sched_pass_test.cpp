// What one pass of the timer does.
#include "scheduler_fixture.h"

namespace Tarsel {
namespace {

using test_models::ScriptedItem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class CfgSchedPass : public SchedulerFixture {
 protected:
  /// Items first, first + 1, ..., with rows of the same numbers.
  void Fill(CfgKey key, int first, int count) {
    for (int id = first; id < first + count; ++id) {
      Insert(key, static_cast<unsigned int>(id), id);
    }
  }
  ScriptedItem* InsertUnready(CfgKey key, unsigned int row, int id, bool remove = false) {
    ScriptedItem* item = New(row, id);
    item->itemReady = false;
    item->removeOnNotReady = remove;
    sched.Insert(key, item);
    return item;
  }
};

TEST_F(CfgSchedPass, SendsNewItemsInBucketAndListOrder) {
  Insert(LATER, 1, 3);
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 2", "send 3"));
  EXPECT_THAT(traces.Take(),
              ElementsAre("5:OnTIMEOUT Sending MIB ACTION\n", "5:OnTIMEOUT Sending MIB ACTION\n",
                          "5:OnTIMEOUT Sending MIB ACTION\n"));
}

TEST_F(CfgSchedPass, IssuedItemsAreNotSentAgain) {
  Fill(KEY, 1, 3);
  Tick();
  EXPECT_EQ(3U, CountSends());
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(CfgSchedPass, AnItemThatCouldNotBeSentIsTriedOnEveryPass) {
  ScriptedItem* item = Insert(KEY, 1, 1);
  item->sendSucceeds = false;
  Tick();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 1"));
  item->sendSucceeds = true;
  Tick();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

TEST_F(CfgSchedPass, ExaminesThirtyOneAndGoesOnWithTheNextBucket) {
  Fill(KEY, 1, 40);
  Fill(LATER, 101, 10);
  Tick();
  std::vector<std::string> sent = log.Take();
  ASSERT_EQ(31U, sent.size());
  EXPECT_EQ("send 31", sent.back());
  Tick();
  sent = log.Take();
  ASSERT_EQ(10U, sent.size());
  EXPECT_EQ("send 101", sent.front());
  Tick();
  sent = log.Take();
  ASSERT_EQ(9U, sent.size());
  EXPECT_EQ("send 32", sent.front());
}

TEST_F(CfgSchedPass, ThirtyOneInTheLastBucketStartsOverAtTheFirst) {
  Fill(KEY, 1, 35);
  Tick();
  EXPECT_EQ(31U, CountSends());
  Tick();
  EXPECT_EQ(4U, CountSends());
}

TEST_F(CfgSchedPass, TheLimitCountsOverAllBucketsOfAPass) {
  Fill(KEY, 1, 20);
  Fill(LATER, 101, 20);
  Fill({12, 0}, 201, 5);
  Tick();
  EXPECT_EQ(31U, CountSends());
  Tick();  // from the third bucket on
  EXPECT_THAT(log.Take(), ElementsAre("send 201", "send 202", "send 203", "send 204", "send 205"));
  Tick();
  EXPECT_EQ(9U, CountSends());
}

TEST_F(CfgSchedPass, ExactlyThirtyOneIsALimitToo) {
  Fill(KEY, 1, 31);
  Fill(LATER, 101, 1);
  Tick();
  EXPECT_EQ(31U, CountSends());
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 101"));
}

TEST_F(CfgSchedPass, ThirtyItemsAreNoLimit) {
  Fill(KEY, 1, 30);
  Fill(LATER, 101, 1);
  Tick();
  EXPECT_EQ(31U, CountSends());
}

TEST_F(CfgSchedPass, IssuedItemsDoNotCount) {
  Fill(KEY, 1, 31);
  Tick();
  Fill(KEY, 101, 31);
  Tick();
  log.Take();
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(Order(), SizeIs(62));
}

TEST_F(CfgSchedPass, NotReadyItemsCount) {
  for (int id = 1; id <= 30; ++id) {
    InsertUnready(KEY, static_cast<unsigned int>(id), id);
  }
  Fill(KEY, 31, 2);
  Fill(LATER, 101, 1);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 31"));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 101"));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 32"));
}

TEST_F(CfgSchedPass, ANotReadyItemWaits) {
  ScriptedItem* item = InsertUnready(KEY, 1, 1);
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
  item->itemReady = true;
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

TEST_F(CfgSchedPass, ANotReadyItemThatSaysSoIsDroppedWithItsBucket) {
  InsertUnready(KEY, 1, 1, true);
  Insert(LATER, 1, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1", "send 2"));
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
}

TEST_F(CfgSchedPass, DroppingKeepsTheNeighbours) {
  Insert(KEY, 1, 1);
  InsertUnready(KEY, 2, 2, true);
  Insert(KEY, 3, 3);
  InsertUnready(KEY, 4, 4, true);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "end 2", "send 3", "end 4"));
  EXPECT_THAT(Order(), ElementsAre(1, 3));
  Insert(KEY, 2, 5);
  EXPECT_THAT(Order(), ElementsAre(1, 3, 5));
}

TEST_F(CfgSchedPass, AReadyItemIsNotDropped) {
  ScriptedItem* item = New(1, 1);
  item->removeOnNotReady = true;
  sched.Insert(KEY, item);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

TEST_F(CfgSchedPass, AnIssuedItemIsNotDropped) {
  ScriptedItem* item = New(1, 1);
  item->removeOnNotReady = true;
  sched.Insert(KEY, item);
  Tick();
  item->itemReady = false;
  Insert(KEY, 2, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 2"));
}

TEST_F(CfgSchedPass, AnUnreadyBucketKeepsItsItemsAndLaterOnesGoOn) {
  log.listReady = false;
  Fill(KEY, 1, 3);
  ScriptedItem* later = New(9, 9);
  later->isListReady = [] { return true; };
  sched.Insert(LATER, later);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 9"));
  EXPECT_THAT(Order(), ElementsAre(1, 2, 3, 9));
  log.listReady = true;
  Tick();
  EXPECT_EQ(3U, CountSends());
}

TEST_F(CfgSchedPass, AnUnreadyItemInTheMiddleStopsTheRestOfItsBucket) {
  Insert(KEY, 1, 1);
  bool ready = false;
  ScriptedItem* middle = New(2, 2);
  middle->isListReady = [&ready] { return ready; };
  sched.Insert(KEY, middle);
  Insert(KEY, 3, 3);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
  ready = true;
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2", "send 3"));
  ready = false;
  Insert(KEY, 4, 4);
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());  // the issued item is asked as well, and blocks
  ready = true;
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 4"));
}

TEST_F(CfgSchedPass, AnUnreadyBucketDoesNotCount) {
  for (int id = 1; id <= 40; ++id) {
    ScriptedItem* item = New(static_cast<unsigned int>(id), id);
    item->isListReady = [] { return false; };
    sched.Insert({9, 0}, item);
  }
  Fill(KEY, 101, 40);
  Tick();
  EXPECT_EQ(31U, CountSends());
}

TEST_F(CfgSchedPass, AResumeKeyThatIsGoneStartsAtTheFirstBucket) {
  Fill(KEY, 1, 40);
  ScriptedItem* only = Insert(LATER, 1, 100);
  only->SetActionState(CfgItem::ISSUED);
  Fill({12, 0}, 101, 3);
  Tick();  // stops in the first bucket; the next pass is to start at LATER
  Remove(LATER, 1);
  log.Take();
  Tick();
  const std::vector<std::string> sent = log.Take();
  ASSERT_EQ(12U, sent.size());
  EXPECT_EQ("send 32", sent.front());
  EXPECT_EQ("send 103", sent.back());
}

TEST_F(CfgSchedPass, TheBucketBehindAGoneResumeKeyIsNotPreferred) {
  Fill(KEY, 1, 31);
  ScriptedItem* only = New(1, 100);
  sched.Insert(LATER, only);
  only->SetActionState(CfgItem::ISSUED);
  Fill({12, 0}, 101, 31);
  Tick();  // 31 of KEY; the next pass is to start at LATER
  Remove(LATER, 1);
  Fill(KEY, 41, 2);
  log.Take();
  Tick();
  const std::vector<std::string> sent = log.Take();
  ASSERT_EQ(31U, sent.size());
  EXPECT_EQ("send 41", sent[0]);
  EXPECT_EQ("send 42", sent[1]);
  EXPECT_EQ("send 101", sent[2]);
}

TEST_F(CfgSchedPass, AnEmptyPassStartsOverAtTheFirstBucket) {
  Fill(KEY, 1, 31);
  ScriptedItem* only = New(1, 100);
  sched.Insert(LATER, only);
  only->SetActionState(CfgItem::ISSUED);
  Tick();  // resumes at LATER
  Remove(LATER, 1);
  for (unsigned int row = 1; row <= 31; ++row) {
    Remove(KEY, row);
  }
  Tick();  // no buckets
  Fill(KEY, 1, 1);
  Fill(LATER, 101, 1);
  log.Take();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 101"));
}

// (1, 0) stands for the first bucket; a bucket of exactly that key is taken at its word.
TEST_F(CfgSchedPass, ABucketNamedLikeTheStartIsTheStart) {
  Insert({0, 5}, 1, 1);
  Insert({1, 0}, 1, 2);
  Insert(KEY, 1, 3);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2", "send 3"));
  Remove({1, 0}, 1);
  log.Take();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

TEST_F(CfgSchedPass, TheLimitInTheMiddleBucketResumesAtTheOneBehindIt) {
  Insert({9, 0}, 1, 1);
  Fill(KEY, 101, 35);
  Fill(LATER, 201, 2);
  Tick();
  EXPECT_EQ(31U, CountSends());
  Insert({9, 0}, 2, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 201", "send 202"));
  Tick();
  EXPECT_THAT(log.Take(),
              ElementsAre("send 2", "send 131", "send 132", "send 133", "send 134", "send 135"));
}

TEST_F(CfgSchedPass, ABucketEmptiedByItsThirtyFirstItemStaysUntilALaterPass) {
  for (int id = 1; id <= 31; ++id) {
    InsertUnready(KEY, static_cast<unsigned int>(id), id, true);
  }
  Tick();
  EXPECT_EQ(31U, Take("end").size());
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
  EXPECT_EQ("", Print());
  Tick();
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedPass, AnEmptyBucketGoesWithTheNextRemove) {
  for (int id = 1; id <= 31; ++id) {
    InsertUnready(KEY, static_cast<unsigned int>(id), id, true);
  }
  Tick();
  Update(KEY, 5, 1, true);
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
  Remove(KEY, 5);
  EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
}

TEST_F(CfgSchedPass, AnEmptyBucketTakesItemsAgain) {
  for (int id = 1; id <= 31; ++id) {
    InsertUnready(KEY, static_cast<unsigned int>(id), id, true);
  }
  Tick();
  log.Take();
  Insert(KEY, 1, 40);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 40"));
}

// A bucket of issued items is passed over, but nothing that makes one of them New goes unseen.
TEST_F(CfgSchedPass, ABucketThatHadNothingToDoWakesUp) {
  ScriptedItem* item = Insert(KEY, 1, 1);
  Tick();
  Tick();
  log.Take();
  item->SetActionState(CfgItem::NEW);  // by its owner's other hand
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
  Tick();
  Update(KEY, 1, 5, true);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
  Tick();
  sched.Reset();
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
  Tick();
  Insert(KEY, 2, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
}

// Most buckets only wait for the stack, and a pass comes ten times a second.
TEST_F(CfgSchedPass, ABucketThatHadNothingToDoIsNotWalkedAgain) {
  unsigned int asked = 0;
  for (int id = 1; id <= 5; ++id) {
    ScriptedItem* item = New(static_cast<unsigned int>(id), id);
    item->itemReady = id != 3;
    item->removeOnNotReady = true;
    item->isListReady = [&asked] { return ++asked > 0; };
    sched.Insert(KEY, item);
  }
  Tick();
  EXPECT_EQ(5U, asked);
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "send 2", "end 3", "send 4", "send 5"));
  Tick();
  EXPECT_EQ(5U, asked);
  Update(KEY, 2, 5, true);
  Tick();
  EXPECT_EQ(9U, asked);
  Tick();
  EXPECT_EQ(9U, asked);
}

TEST_F(CfgSchedPass, AnItemInsertedAsIssuedIsNotSent) {
  ScriptedItem* item = New(1, 1);
  item->SetActionState(CfgItem::ISSUED);
  sched.Insert(KEY, item);
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
}

// Only New is sent, and only Issued is in flight, is answered and ends.
TEST_F(CfgSchedPass, AnItemOfAnyOtherStateIsLeftAlone) {
  constexpr auto OTHER = static_cast<CfgItem::ACTION_ITEM_STATE>(7);
  ScriptedItem* item = New(1, 1);
  item->inFlight = {1, 2};
  item->SetActionState(OTHER);
  sched.Insert(KEY, item);
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(sched.RouteMapInFlight(KEY, 1, 2), 0);
  EXPECT_EQ(sched.AggrAddrInFlight(KEY, 1, 2), 0);
  Update(KEY, 1, 5, true);
  EXPECT_EQ(item->GetActionState(), OTHER);
  EXPECT_EQ(item->GetReasonCode(), 0U);
  EXPECT_EQ(item->GetRetryCount(), 0U);
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1"));
  EXPECT_THAT(Order(), ElementsAre(1));
}

TEST_F(CfgSchedPass, AnAnswerPassesByWhatIsNotIssued) {
  std::vector<ScriptedItem*> items;
  for (int id = 1; id <= 3; ++id) {
    items.push_back(New(1, id));
    items.back()->replaces = false;
    sched.Insert(KEY, items.back());
  }
  items[1]->SetActionState(static_cast<CfgItem::ACTION_ITEM_STATE>(7));
  items[2]->SetActionState(CfgItem::ISSUED);
  Update(KEY, 1, 5, true);
  EXPECT_EQ(items[0]->GetReasonCode(), 0U);
  EXPECT_EQ(items[1]->GetReasonCode(), 0U);
  EXPECT_EQ(items[2]->GetReasonCode(), 5U);
  EXPECT_EQ(items[2]->GetActionState(), CfgItem::NEW);
}

}  // namespace
}  // namespace Tarsel
