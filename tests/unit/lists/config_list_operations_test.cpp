// Configuration object lists: sending, destroying, clearing and asking, without a document.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "config_list_fixture.h"

namespace config_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace Tarsel;

static_assert(std::is_abstract_v<DclConfigListIteratorFunc>);

// ---- CommitToMib

TEST_F(ConfigListTest, CommitSkipsObjectsWithoutAPendingChange) {
  for (unsigned int id = 1; id <= 3; ++id) {
    list.Append(VLAN, id)->SetActionReq(id != 2);
  }
  list.CommitToMib();
  EXPECT_THAT(world.calls, ElementsAre("commit 1=", "commit 3="));
  EXPECT_EQ(trace.Lines().size(), 2u);
}

TEST_F(ConfigListTest, CommitStartsAgainFromTheHeadAfterEachDeletedObject) {
  world.forgetful = {1, 3};
  world.finished = {2, 4};
  for (unsigned int id = 1; id <= 4; ++id) {
    list.Append(VLAN, id);
  }
  list.CommitToMib();
  EXPECT_THAT(world.calls,
              ElementsAre("commit 1=", "commit 2=", "delete 2=", "commit 1=", "commit 3=",
                          "commit 4=", "delete 4=", "commit 1=", "commit 3="));
  EXPECT_EQ(trace.Lines().size(), 7u);
  EXPECT_EQ(list.Contents(), "1= 3=");
}

TEST_F(ConfigListTest, ACommitMayGiveAnEarlierObjectSomethingToDo) {
  for (unsigned int id = 1; id <= 3; ++id) {
    list.Append(VLAN, id);
  }
  world.finished = {3};
  world.onCommit = [this](TestObject& object) {
    if (object.GetId() == 2 && world.calls.size() == 2) {
      list.At(0)->SetActionReq(true);
    }
  };
  list.CommitToMib();
  EXPECT_THAT(world.calls,
              ElementsAre("commit 1=", "commit 2=", "commit 3=", "delete 3=", "commit 1="));
}

TEST_F(ConfigListTest, AnEarlierObjectsNewChangeWaitsWhenNothingWasDeleted) {
  list.Append(VLAN, 1);
  list.Append(VLAN, 2);
  world.onCommit = [this](TestObject& object) {
    if (object.GetId() == 2) {
      list.At(0)->SetActionReq(true);
    }
  };
  list.CommitToMib();
  EXPECT_THAT(world.calls, ElementsAre("commit 1=", "commit 2="));
  EXPECT_TRUE(list.At(0)->GetActionReq());
}

// ---- SetDestroy and DeleteOptions

TEST_F(ConfigListTest, SetDestroyMarksEveryObjectAndSendsNothing) {
  ParseThree();
  list.SetDestroy();
  EXPECT_THAT(world.calls, ElementsAre("destroy 1=a", "destroy 2=b", "destroy 3=c"));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(list.At(i)->GetActionReq());
    EXPECT_TRUE(list.At(i)->GetInMib());
  }
}

TEST_F(ConfigListTest, DeleteOptionsDestroysEveryObjectWhateverItsSource) {
  ParseThree();
  list.At(1)->SetSource("another", REMOTE_OPTIONS);
  list.DeleteOptions("neither", static_cast<DclConfigObject::OptionType>(99));
  EXPECT_THAT(world.calls,
              ElementsAre("destroy 1=a", "destroy 2=b", "destroy 3=c", "commit 1=a", "delete 1=a",
                          "commit 2=b", "delete 2=b", "commit 3=c", "delete 3=c"));
  EXPECT_EQ(list.Size(), 0u);
}

// ---- clearing

TEST_F(ConfigListTest, ClearDeletesEveryObjectInOrderWithoutTouchingTheStack) {
  ParseThree();
  list.Clear();
  EXPECT_THAT(world.calls, ElementsAre("delete 1=a", "delete 2=b", "delete 3=c"));
  EXPECT_EQ(list.Size(), 0u);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

// An object that goes may ask its list for the others, and must not find itself.
TEST_F(ConfigListTest, ClearTakesAnObjectOutBeforeItDeletesIt) {
  ParseThree();
  std::vector<std::string> left;
  world.onDelete = [this, &left] { left.push_back(list.Contents()); };
  list.Clear();
  EXPECT_THAT(left, ElementsAre("2=b 3=c", "3=c", ""));
}

TEST_F(ConfigListTest, TheDestructorDeletesEveryObjectInOrderWithoutTouchingTheStack) {
  {
    TestList other(&router, world);
    other.Append(VLAN, 1);
    other.Append(VLAN, 2);
    other.AppendNull();
  }
  EXPECT_THAT(world.calls, ElementsAre("delete 1=", "delete 2="));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

struct ClearCase {
  std::vector<unsigned short> vlans;
  const char* deleted;  // ids in the order of their deletion
  const char* left;     // ids in list order
};

TEST_F(ConfigListTest, ClearOfAVlanStepsOverTheFollowerAndWrapsToTheHead) {
  // The ids are the positions, from 1.
  for (const ClearCase& c :
       {ClearCase{{3, 3, 4}, "1", "2 3"}, ClearCase{{3, 3, 3}, "1 3 2", ""},
        ClearCase{{3, 3, 4, 3}, "1 4 2", "3"}, ClearCase{{3}, "1", ""}, ClearCase{{}, "", ""},
        ClearCase{{4, 3}, "2", "1"}, ClearCase{{3, 4, 3}, "1 3", "2"},
        ClearCase{{3, 3, 3, 3}, "1 3", "2 4"}, ClearCase{{3, 3, 3, 3, 3}, "1 3 5 2", "4"},
        ClearCase{{4, 4, 5}, "", "1 2 3"}}) {
    std::string expected;
    for (unsigned int id = 1; id <= c.vlans.size(); ++id) {
      list.Append(c.vlans[id - 1], id);
    }
    list.Clear(3);
    std::string deleted;
    for (const std::string& call : world.Take()) {
      EXPECT_THAT(call, StartsWith("delete "));
      deleted += (deleted.empty() ? "" : " ") + call.substr(7, call.size() - 8);
    }
    EXPECT_EQ(deleted, c.deleted);
    std::string left;
    for (std::size_t i = 0; i < list.Size(); ++i) {
      left += (left.empty() ? "" : " ") + std::to_string(list.At(i)->GetId());
    }
    EXPECT_EQ(left, c.left);
    list.Clear();
    world.Take();
  }
}

TEST_F(ConfigListTest, ClearOfAVlanComparesAll32Bits) {
  list.Append(3, 1);
  list.Clear(65536u + 3u);
  EXPECT_EQ(list.Size(), 1u);
  list.Clear(65536u + 3u, true);
  EXPECT_FALSE(list.At(0)->GetSuspended());
}

TEST_F(ConfigListTest, ClearOfVlanZeroIsForThatVlanOnly) {
  list.Append(3, 1)->SetActionReq(false);
  list.Append(0, 2)->SetActionReq(false);
  list.Clear(0, true);
  EXPECT_FALSE(list.At(0)->GetSuspended());
  EXPECT_TRUE(list.At(1)->GetSuspended());
  list.Clear(0, false);
  EXPECT_THAT(world.Take(), ElementsAre("commit 2="));
  list.Clear(0);
  EXPECT_THAT(world.calls, ElementsAre("delete 2="));
  EXPECT_EQ(list.Contents(), "1=");
}

TEST_F(ConfigListTest, SuspendingMarksTheVlansObjectsOnly) {
  list.Append(3, 1)->SetActionReq(false);
  list.Append(4, 2)->SetActionReq(false);
  list.Append(3, 3)->SetActionReq(false);
  list.Clear(3, true);
  EXPECT_TRUE(list.At(0)->GetSuspended());
  EXPECT_FALSE(list.At(1)->GetSuspended());
  EXPECT_TRUE(list.At(2)->GetSuspended());
  EXPECT_FALSE(list.At(0)->GetActionReq());
  EXPECT_THAT(world.calls, IsEmpty());
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(ConfigListTest, ResumingCommitsTheVlansObjectsAndKeepsEvenTheFinishedOnes) {
  list.Append(3, 1)->SetActionReq(false);
  list.Append(4, 2)->SetActionReq(false);
  list.Append(3, 3)->SetActionReq(false);
  list.Clear(3, true);
  world.finished = {1};
  world.forgetful = {3};
  bool suspendedInCommit = false;
  bool requiredInCommit = true;
  world.onCommit = [&](TestObject& object) {
    suspendedInCommit = suspendedInCommit || object.GetSuspended();
    requiredInCommit = requiredInCommit && object.GetActionReq();
  };
  list.Clear(3, false);
  EXPECT_THAT(world.calls, ElementsAre("commit 1=", "commit 3="));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("5:TestList:: ActionReq: 1 InMib: 0  Vlan: 3   ID: 1 RowStatus C\n",
                          "5:TestList:: ActionReq: 1 InMib: 0  Vlan: 3   ID: 3 RowStatus C\n"));
  EXPECT_FALSE(suspendedInCommit);
  EXPECT_TRUE(requiredInCommit);
  EXPECT_EQ(list.Size(), 3u);
  EXPECT_FALSE(list.At(0)->GetSuspended());
  EXPECT_FALSE(list.At(2)->GetSuspended());
  EXPECT_TRUE(list.At(2)->GetActionReq());
  EXPECT_FALSE(list.At(1)->GetActionReq());
}

TEST_F(ConfigListTest, ResumingNeedsNoSuspension) {
  list.Append(3, 1)->SetActionReq(false);
  list.Clear(3, false);
  EXPECT_THAT(world.calls, ElementsAre("commit 1="));
}

// ---- queries

TEST_F(ConfigListTest, CheckInMibAsksForVlanIdAndFlag) {
  list.Append(3, 7);
  EXPECT_FALSE(list.CheckInMib(3, 7));
  list.At(0)->SetInMib(true);
  EXPECT_TRUE(list.CheckInMib(3, 7));
  EXPECT_FALSE(list.CheckInMib(4, 7));
  EXPECT_FALSE(list.CheckInMib(3, 8));
  EXPECT_FALSE(list.CheckInMib(0, 7)) << "zero is a VLAN like any other";
  EXPECT_FALSE(list.CheckInMib(3, 0)) << "and an id like any other";
  EXPECT_FALSE(list.CheckInMib(3, 65536 + 7));
}

TEST_F(ConfigListTest, CheckInMibLooksBeyondAnObjectOfTheSameKeyThatIsNotThere) {
  list.Append(3, 7);
  list.Append(3, 7)->SetInMib(true);
  EXPECT_TRUE(list.CheckInMib(3, 7));
}

TEST_F(ConfigListTest, DisplayListFiltersByVlanAndIdAndZeroIsAny) {
  list.Append(3, 1);
  list.Append(3, 2);
  list.Append(4, 2);
  const auto displayed = [this](unsigned int id, unsigned short vlan) {
    DclConfigDisplayFilter filter;
    filter.id = id;
    filter.vlan = vlan;
    list.DisplayList(nullptr, filter);
    return world.Take();
  };
  EXPECT_THAT(displayed(0, 0), ElementsAre("display(0) 1=", "display(0) 2=", "display(0) 2="));
  EXPECT_THAT(displayed(2, 0), ElementsAre("display(2) 2=", "display(2) 2="));
  EXPECT_THAT(displayed(0, 3), ElementsAre("display(0) 1=", "display(0) 2="));
  EXPECT_THAT(displayed(2, 4), ElementsAre("display(2) 2="));
  EXPECT_THAT(displayed(1, 4), IsEmpty());
  EXPECT_THAT(displayed(65536 + 1, 0), IsEmpty());
}

TEST_F(ConfigListTest, DisplayListHandsTheConsoleOn) {
  list.Append(3, 1);
  int something;
  auto* console = reinterpret_cast<DcConsole*>(&something);
  list.DisplayList(console, {});
  EXPECT_EQ(list.At(0)->displayedOn, console);
}

class Visitor : public DclConfigListIteratorFunc {
 public:
  bool operator()(DclConfigObject* object) override {
    visited.push_back(object->GetId());
    return object->GetId() != stopAt;
  }
  std::vector<unsigned int> visited;
  unsigned int stopAt = 0;
};

TEST_F(ConfigListTest, ForEachVisitsInListOrder) {
  list.Append(3, 7);
  list.Append(3, 5);
  Visitor visitor;
  EXPECT_EQ(list.ForEach(&visitor), 1);
  EXPECT_THAT(visitor.visited, ElementsAre(7, 5));
}

TEST_F(ConfigListTest, ForEachStopsAtTheFirstFalse) {
  for (unsigned int id : {7, 5, 6}) {
    list.Append(3, id);
  }
  Visitor visitor;
  visitor.stopAt = 5;
  EXPECT_EQ(list.ForEach(&visitor), 0);
  EXPECT_THAT(visitor.visited, ElementsAre(7, 5));
  visitor.stopAt = 6;
  EXPECT_EQ(list.ForEach(&visitor), 0) << "also at the last object";
}

TEST_F(ConfigListTest, ForEachPassesOverMissingObjects) {
  list.AppendNull();
  list.Append(3, 7);
  list.AppendNull();
  Visitor visitor;
  EXPECT_EQ(list.ForEach(&visitor), 1);
  EXPECT_THAT(visitor.visited, ElementsAre(7));
}

TEST_F(ConfigListTest, ForEachOfAnEmptyListIsOneAndOfNoVisitorZero) {
  Visitor visitor;
  EXPECT_EQ(list.ForEach(&visitor), 1);
  EXPECT_EQ(list.ForEach(nullptr), 0);
}

}  // namespace
}  // namespace config_test
