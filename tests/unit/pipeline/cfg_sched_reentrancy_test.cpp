// A stack, or another library, that calls the scheduler back from inside Send, SetInMib or a
// question whether something is ready.
#include "scheduler_fixture.h"

namespace Tarsel {
namespace {

using test_models::ScriptedItem;
using testing::ElementsAre;
using testing::IsEmpty;

class CfgSchedReentrancy : public SchedulerFixture {
 protected:
  ScriptedItem* InsertIssued(CfgKey key, unsigned int row, int id) {
    ScriptedItem* item = New(row, id);
    item->SetActionState(CfgItem::ISSUED);
    sched.Insert(key, item);
    return item;
  }
};

// The item is New until Send returns, so an answer from inside only tells it, and it stays issued.
TEST_F(CfgSchedReentrancy, AnAnswerInsideSendLeavesTheItemIssued) {
  Insert(KEY, 1, 1)->onSend = [this] { Remove(KEY, 1); };
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 1 yes 1"));
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 0 retries 0\n\n", Print());
  Tick();
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(CfgSchedReentrancy, ARetryInsideSendFindsNothingIssued) {
  Insert(KEY, 1, 1)->onSend = [this] { Update(KEY, 1, 5, true); };
  Tick();
  EXPECT_EQ("==== Item 0 ====\n1 row 1 Issued reason 0 retries 0\n\n", Print());
}

TEST_F(CfgSchedReentrancy, TheItemBeingSentMayBeReplaced) {
  Insert(KEY, 1, 1)->onSend = [this] {
    Insert(KEY, 1, 2);
    EXPECT_THAT(Order(), ElementsAre(2));  // unlinked at once
    EXPECT_THAT(log.Take(), ElementsAre("send 1", "replace 2 1"));
  };
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1"));  // but it lives until Send has returned
  EXPECT_EQ("==== Item 0 ====\n2 row 1 New reason 0 retries 0\n\n", Print());
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
}

TEST_F(CfgSchedReentrancy, TheWalkGoesOnBehindAReplacedItem) {
  Insert(KEY, 1, 1);
  Insert(KEY, 2, 2)->onSend = [this] { Insert(KEY, 2, 12); };
  Insert(KEY, 3, 3);
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 1", "send 2", "send 3"));
  EXPECT_THAT(Order(), ElementsAre(12, 1, 3));
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 12"));
}

TEST_F(CfgSchedReentrancy, TheNextItemMayGo) {
  Insert(KEY, 1, 1)->onSend = [this] { Remove(KEY, 2); };
  InsertIssued(KEY, 2, 2);
  Insert(KEY, 3, 3);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 2 yes 1", "end 2", "send 3"));
}

TEST_F(CfgSchedReentrancy, TheNextItemMayBeReplaced) {
  Insert(KEY, 1, 1)->onSend = [this] { Insert(KEY, 2, 12); };
  Insert(KEY, 2, 2);
  Insert(KEY, 3, 3);
  Tick();
  // The new one stands in front of the one being sent now, and waits for the next pass.
  EXPECT_THAT(Take("send"), ElementsAre("send 1", "send 3"));
  EXPECT_THAT(Order(), ElementsAre(12, 1, 3));
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 12"));
}

TEST_F(CfgSchedReentrancy, AnItemThatComesWhileItsBucketIsWalkedIsNotForgotten) {
  Insert(KEY, 1, 1)->onSend = [this] { Insert(KEY, 2, 2); };
  Tick();
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 1", "send 2"));
}

// A bucket that has nothing New at the end of a pass is left out of the next ones.
TEST_F(CfgSchedReentrancy, ARetryOfAnItemThatThePassHasLeftBehindIsNotForgotten) {
  InsertIssued(KEY, 1, 1);
  Insert(KEY, 2, 2)->onSend = [this] { Update(KEY, 1, 5, true); };
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 2"));
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 1"));
}

TEST_F(CfgSchedReentrancy, ABucketBehindMayGo) {
  Insert(KEY, 1, 1)->onSend = [this] { Remove(LATER, 1); };
  InsertIssued(LATER, 1, 2);
  Insert({12, 0}, 1, 3);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 2 yes 1", "end 2", "send 3"));
}

TEST_F(CfgSchedReentrancy, ABucketInFrontMayGo) {
  InsertIssued({9, 0}, 1, 1);
  Insert(KEY, 1, 2)->onSend = [this] { Remove({9, 0}, 1); };
  Insert(LATER, 1, 3);
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 2", "send 3"));
  EXPECT_EQ("Pending Item Buckets: 2\n", Summary());
}

// A pass knows what follows a bucket before it walks it.
TEST_F(CfgSchedReentrancy, ABucketThatComesDuringAPassWaitsForTheNext) {
  Insert(KEY, 1, 1)->onSend = [this] { Insert({10, 0x3D000004}, 1, 2); };
  Insert(LATER, 1, 3)->onSend = [this] { Insert({12, 0}, 1, 4); };
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 1", "send 3"));
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 2", "send 4"));
}

TEST_F(CfgSchedReentrancy, TheBucketBeingWalkedMayGoAndComeBack) {
  ScriptedItem* first = Insert(KEY, 1, 1);
  first->onSend = [this, first] {
    first->SetActionState(CfgItem::ISSUED);
    Remove(KEY, 1);
    EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
    Insert(KEY, 2, 2);
  };
  Insert(LATER, 1, 3);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 1 yes 1", "end 1", "send 3"));
  EXPECT_THAT(Order(), ElementsAre(2, 3));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
}

TEST_F(CfgSchedReentrancy, TheBucketBeingWalkedMayGoForGood) {
  ScriptedItem* first = Insert(KEY, 1, 1);
  first->onSend = [this, first] {
    first->SetActionState(CfgItem::ISSUED);
    Remove(KEY, 1);
  };
  Insert(LATER, 1, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 1 yes 1", "end 1", "send 2"));
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
}

TEST_F(CfgSchedReentrancy, TheBucketBeingWalkedMayGoForGoodAtTheLimit) {
  for (int id = 1; id <= 30; ++id) {
    Insert(KEY, static_cast<unsigned int>(id), id);
  }
  ScriptedItem* last = Insert(LATER, 1, 31);
  last->onSend = [this, last] {
    last->SetActionState(CfgItem::ISSUED);
    Remove(LATER, 1);
  };
  Insert({12, 0}, 1, 32);
  Tick();
  EXPECT_EQ(31U, CountSends());
  EXPECT_EQ("Pending Item Buckets: 2\n", Summary());
  Tick();
  EXPECT_EQ(1U, CountSends());
}

TEST_F(CfgSchedReentrancy, APassInsideAPass) {
  ScriptedItem* first = Insert(KEY, 1, 1);
  first->onSend = [this, first] {
    first->onSend = {};  // still New, so that the inner pass sends it as well
    Tick();
  };
  Insert(KEY, 2, 2)->onSend = [this] { Insert(KEY, 1, 11); };
  Insert(KEY, 3, 3);
  Tick();
  EXPECT_THAT(log.Take(),
              ElementsAre("send 1", "send 1", "send 2", "replace 11 1", "send 3", "end 1"));
  EXPECT_THAT(Order(), ElementsAre(11, 2, 3));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 11"));
}

// The inner pass leaves items behind that the outer one has passed already.
TEST_F(CfgSchedReentrancy, WhatAPassInsideAPassLeavesIsNotForgotten) {
  for (int id = 1; id <= 40; ++id) {
    InsertIssued(KEY, static_cast<unsigned int>(id), id);
  }
  Insert(KEY, 41, 41)->onSend = [this] {
    sched.Reset();
    Tick();
  };
  Tick();
  EXPECT_EQ(32U, CountSends());
  Tick();
  EXPECT_EQ(9U, CountSends());
}

// --- questions ---

TEST_F(CfgSchedReentrancy, TheItemAskedForItsBucketMayBeReplaced) {
  Insert(KEY, 1, 1)->isListReady = [this] {
    Insert(KEY, 1, 11);
    EXPECT_THAT(log.Take(), ElementsAre("replace 11 1"));
    return true;
  };
  Insert(KEY, 2, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1", "send 2"));
  EXPECT_THAT(Order(), ElementsAre(11, 2));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 11"));
}

TEST_F(CfgSchedReentrancy, TheItemAskedForItsBucketMayBeAnsweredAndTheBucketGo) {
  InsertIssued(KEY, 1, 1)->isListReady = [this] {
    Remove(KEY, 1);
    EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1"));
    return false;
  };
  Insert(LATER, 1, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1", "send 2"));
  EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
}

TEST_F(CfgSchedReentrancy, ABucketThatIsNotReadyWaitsThoughTheItemThatSaidSoHasGone) {
  InsertIssued(KEY, 1, 1)->isListReady = [this] {
    Remove(KEY, 1);
    return false;
  };
  Insert(KEY, 2, 2);
  Insert(LATER, 1, 3);
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 3"));
  Tick();
  EXPECT_THAT(Take("send"), ElementsAre("send 2"));
}

TEST_F(CfgSchedReentrancy, TheSchedulerMayBeResetByTheItemAskedForItsBucket) {
  ScriptedItem* item = InsertIssued(KEY, 1, 1);
  item->isListReady = [this, item] {
    item->isListReady = {};
    sched.Reset();
    return true;
  };
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

TEST_F(CfgSchedReentrancy, TheItemAskedForItselfMayBeReplaced) {
  for (const bool ready : {true, false}) {
    ScriptedItem* item = Insert(KEY, 1, 1);
    item->itemReady = ready;
    item->removeOnNotReady = true;
    item->onItemReady = [this] {
      Insert(KEY, 1, 11);
      EXPECT_THAT(log.Take(), ElementsAre("replace 11 1"));
    };
    Insert(KEY, 2, 2);
    Tick();
    EXPECT_THAT(log.Take(), ElementsAre("end 1", "send 2")) << ready;
    EXPECT_THAT(Order(), ElementsAre(11, 2)) << ready;
    Tick();
    EXPECT_THAT(log.Take(), ElementsAre("send 11")) << ready;
    Remove(KEY, 1);
    Remove(KEY, 2);
    log.Take();
  }
}

TEST_F(CfgSchedReentrancy, TheItemAskedForItselfMayBeDroppedByAPassInside) {
  ScriptedItem* item = Insert(KEY, 1, 1);
  item->itemReady = false;
  item->removeOnNotReady = true;
  item->onItemReady = [this, item] {
    item->onItemReady = {};
    Tick();
    EXPECT_THAT(log.Take(), ElementsAre("send 2"));
    EXPECT_EQ("Pending Item Buckets: 1\n", Summary());
  };
  Insert(LATER, 1, 2);
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1"));
}

TEST_F(CfgSchedReentrancy, TheSchedulerMayBeResetByTheItemAskedForItself) {
  InsertIssued(KEY, 1, 1);
  Insert(KEY, 2, 2)->onItemReady = [this] { sched.Reset(); };
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 2"));
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("send 1"));
}

// --- answers ---

TEST_F(CfgSchedReentrancy, SetInMibMayReplaceTheItemThatIsTold) {
  InsertIssued(KEY, 1, 1)->onInMib = [this] { Insert(KEY, 1, 2); };
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "replace 2 1", "end 1"));
  EXPECT_EQ("==== Item 0 ====\n2 row 1 New reason 0 retries 0\n\n", Print());
  EXPECT_THAT(traces.AtLevel(5), ElementsAre("REPLACED ------- 2 item.............\n"));
}

TEST_F(CfgSchedReentrancy, ACallInsideACallMayReplaceTheItemOfTheOuterOne) {
  InsertIssued(KEY, 2, 2)->onInMib = [this] {
    Insert(KEY, 1, 11);
    EXPECT_THAT(log.Take(), ElementsAre("send 1", "in-mib 2 yes 1", "replace 11 1"));
  };
  Insert(KEY, 1, 1)->onSend = [this] {
    Remove(KEY, 2);
    EXPECT_THAT(log.Take(), ElementsAre("end 2"));
  };
  Tick();
  EXPECT_THAT(log.Take(), ElementsAre("end 1"));
  EXPECT_THAT(Order(), ElementsAre(11));
}

TEST_F(CfgSchedReentrancy, SetInMibMayInsertTheNextRow) {
  InsertIssued(KEY, 1, 1)->onInMib = [this] { Insert(KEY, 2, 2); };
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "end 1"));
  EXPECT_THAT(Order(), ElementsAre(2));
}

TEST_F(CfgSchedReentrancy, SetInMibMayRemoveTheRowOnceMore) {
  ScriptedItem* item = InsertIssued(KEY, 1, 1);
  item->onInMib = [this, item] {
    item->onInMib = {};
    Remove(KEY, 1);
    EXPECT_EQ("Pending Item Buckets: 0\n", Summary());
  };
  Remove(KEY, 1);
  EXPECT_THAT(log.Take(), ElementsAre("in-mib 1 yes 1", "in-mib 1 yes 1", "end 1"));
  EXPECT_THAT(traces.AtLevel(5), ElementsAre("Removing the handle\n"));
}

}  // namespace
}  // namespace Tarsel
