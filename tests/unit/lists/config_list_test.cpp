// Configuration object lists: the difference between a document and what the stack has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "config_list_fixture.h"

namespace config_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using namespace Tarsel;

static_assert(std::is_abstract_v<DCLConfigList>);

// ---- new groups

TEST_F(ConfigListTest, NewGroupsAreAppendedAndCommittedInDocumentOrder) {
  Parse(ListOf({Group(7, "x"), Group(3, "y")}));
  EXPECT_EQ(list.Contents(), "7=x 3=y");
  EXPECT_THAT(world.calls, ElementsAre("commit 7=x", "commit 3=y"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("5:TestList:: ActionReq: 1 InMib: 0  Vlan: 12   ID: 7 RowStatus C\n",
                          "5:TestList:: ActionReq: 1 InMib: 0  Vlan: 12   ID: 3 RowStatus C\n"));
  EXPECT_THAT(trace.Assertions(), IsEmpty());
}

TEST_F(ConfigListTest, MembersComeInKeyOrder) {
  Parse(R"({"LIST": {"z": )" + Group(1, "z") + R"(, "b": )" + Group(2, "b") + R"(, "aa": )" +
        Group(3, "aa") + R"(, "a10": )" + Group(4, "a10") + R"(, "a9": )" + Group(5, "a9") +
        R"(, "B": )" + Group(6, "B") + "}}");
  EXPECT_EQ(list.Contents(), "6=B 4=a10 5=a9 3=aa 2=b 1=z");
}

TEST_F(ConfigListTest, ANewObjectCarriesSourceTypeAndTheRoutersVlan) {
  Parse(ListOf({Group(7, "x")}), "folder/file", REMOTE_OPTIONS);
  ASSERT_EQ(list.Size(), 1u);
  EXPECT_EQ(list.At(0)->GetName(), "folder/file");
  EXPECT_EQ(list.At(0)->GetType(), REMOTE_OPTIONS);
  EXPECT_EQ(list.At(0)->GetVlan(), VLAN);
  EXPECT_EQ(&list.At(0)->GetRouter(), &router);
}

TEST_F(ConfigListTest, ANewObjectNeedNotCarryItsVlanItself) {
  world.cloneLosesVlan = true;
  Parse(ListOf({Group(7, "x")}));
  EXPECT_EQ(list.At(0)->GetVlan(), VLAN);
}

TEST_F(ConfigListTest, ANewObjectKeepsTheNameAndVlanThatItReadItself) {
  world.onParse = [](TestObject& object) {
    object.SetSource("its own", REMOTE_OPTIONS);
    object.SetKey(4711, object.GetId());
  };
  world.cloneLosesVlan = true;
  Parse(ListOf({Group(7, "x")}));
  EXPECT_EQ(list.At(0)->GetName(), "its own");
  EXPECT_EQ(list.At(0)->GetType(), REMOTE_OPTIONS);
  EXPECT_EQ(list.At(0)->GetVlan(), 4711);
}

TEST_F(ConfigListTest, AKindOfDocumentWithoutANameIsPassedOn) {
  Parse(ListOf({Group(7, "x")}), "file", static_cast<DclConfigObject::OptionType>(4711));
  EXPECT_EQ(list.At(0)->GetType(), 4711);
}

TEST_F(ConfigListTest, TheTemporaryObjectIsDeletedInEveryCase) {
  Parse(ListOf({Group(1, "a"), Group(2, "b"), Group(2, "b"), Group(3, "", R"(, "reject": true)")}));
  EXPECT_EQ(world.live, 2);
  Parse(ListOf({Group(1, "a"), Group(2, "changed")}));
  EXPECT_EQ(world.live, 2);
  world.cloneFails = true;
  Parse(ListOf({Group(1, "a"), Group(2, "changed"), Group(9, "x")}));
  EXPECT_EQ(world.live, 2);
}

// ---- the same document again

TEST_F(ConfigListTest, AnUnchangedDocumentSendsNothing) {
  ParseThree();
  Parse(ListOf({Group(1, "a"), Group(2, "b"), Group(3, "c")}));
  EXPECT_THAT(world.calls, IsEmpty());
  EXPECT_THAT(trace.Lines(), IsEmpty());
  EXPECT_EQ(list.Contents(), "1=a 2=b 3=c");
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_FALSE(list.At(i)->GetActionReq());
    EXPECT_TRUE(list.At(i)->GetInMib());
  }
}

TEST_F(ConfigListTest, TheOrderOfGroupsDoesNotMatter) {
  ParseThree();
  Parse(ListOf({Group(3, "c"), Group(1, "a"), Group(2, "b")}));
  EXPECT_THAT(world.calls, IsEmpty());
  EXPECT_EQ(list.Contents(), "1=a 2=b 3=c");
}

TEST_F(ConfigListTest, AnUnchangedObjectKeepsSourceAndType) {
  ParseThree();
  Parse(ListOf({Group(1, "a"), Group(2, "B"), Group(3, "c")}), "other", REMOTE_OPTIONS);
  EXPECT_EQ(list.At(0)->GetName(), "file");
  EXPECT_EQ(list.At(0)->GetType(), VLAN_OPTIONS);
  EXPECT_EQ(list.At(1)->GetName(), "file");
}

TEST_F(ConfigListTest, AParseTakesAnUnsentChangeBack) {
  world.forgetful = {2};
  ParseThree();
  EXPECT_TRUE(list.At(1)->GetActionReq());
  Parse(ListOf({Group(1, "a"), Group(2, "b"), Group(3, "c")}));
  EXPECT_FALSE(list.At(1)->GetActionReq());
  EXPECT_THAT(world.calls, IsEmpty());
}

// ---- changed groups

TEST_F(ConfigListTest, AChangedObjectIsUpdatedInPlace) {
  ParseThree();
  const TestObject* second = list.At(1);
  Parse(ListOf({Group(1, "a"), Group(2, "new"), Group(3, "c")}));
  EXPECT_EQ(list.Contents(), "1=a 2=new 3=c");
  EXPECT_EQ(list.At(1), second);
  EXPECT_THAT(world.calls, ElementsAre("update 2=new", "commit 2=new"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("5:TestList:: ActionReq: 1 InMib: 1  Vlan: 12   ID: 2 RowStatus M\n"));
  EXPECT_THAT(trace.Assertions(), IsEmpty());
}

TEST_F(ConfigListTest, CommitsFollowListOrderWithNewOnesLast) {
  ParseThree();
  Parse(ListOf({Group(9, "new"), Group(3, "C"), Group(1, "A"), Group(8, "new")}));
  EXPECT_THAT(world.calls,
              ElementsAre("update 3=C", "update 1=A", "destroy 2=b", "commit 1=A", "commit 2=b",
                          "delete 2=b", "commit 3=C", "commit 9=new", "commit 8=new"));
  EXPECT_EQ(list.Contents(), "1=A 3=C 9=new 8=new");
}

// ---- vanished groups

TEST_F(ConfigListTest, AVanishedObjectIsDestroyedAndCommitted) {
  ParseThree();
  Parse(ListOf({Group(1, "a"), Group(3, "c")}));
  EXPECT_THAT(world.calls, ElementsAre("destroy 2=b", "commit 2=b", "delete 2=b"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("5:TestList:: ActionReq: 1 InMib: 1  Vlan: 12   ID: 2 RowStatus D\n"));
  EXPECT_EQ(list.Contents(), "1=a 3=c");
}

TEST_F(ConfigListTest, VanishedObjectsAreMarkedInPointerOrder) {
  for (unsigned int id = 1; id <= 40; ++id) {
    list.Append(VLAN, id);
  }
  std::vector<TestObject*> byPointer;
  for (std::size_t i = 0; i < list.Size(); ++i) {
    byPointer.push_back(list.At(i));
  }
  std::sort(byPointer.begin(), byPointer.end(), std::less<TestObject*>());
  std::vector<std::string> expected;
  for (const TestObject* object : byPointer) {
    expected.push_back("destroy " + std::to_string(object->GetId()) + "=");
  }
  for (unsigned int id = 1; id <= 40; ++id) {
    world.pending.insert(id);
  }
  Parse("{}");
  world.calls.resize(40);
  EXPECT_EQ(world.calls, expected);
}

// The list's mark comes last, whatever an object does with the one that it had.
TEST_F(ConfigListTest, AnObjectThatTakesItsMarkBackIsCommittedAllTheSame) {
  ParseThree();
  world.marksAreTakenBack = true;
  Parse(ListOf({Group(1, "changed"), Group(2, "b")}));
  EXPECT_THAT(world.Take(), UnorderedElementsAre("update 1=changed", "destroy 3=c",
                                                 "commit 1=changed", "commit 3=c", "delete 3=c"));
  list.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_THAT(world.calls, ElementsAre("destroy 1=changed", "destroy 2=b", "commit 1=changed",
                                       "delete 1=changed", "commit 2=b", "delete 2=b"));
}

TEST_F(ConfigListTest, AVanishedObjectStaysUntilItsCommitIsFinished) {
  ParseThree();
  world.pending = {2};
  Parse(ListOf({Group(1, "a"), Group(3, "c")}));
  EXPECT_THAT(world.Take(), ElementsAre("destroy 2=b", "commit 2=b"));
  EXPECT_EQ(list.Contents(), "1=a 2=b 3=c");
  world.pending.clear();
  list.At(1)->SetActionReq(true);
  list.CommitToMib();
  EXPECT_THAT(world.calls, ElementsAre("commit 2=b", "delete 2=b"));
  EXPECT_EQ(list.Contents(), "1=a 3=c");
}

TEST_F(ConfigListTest, AVanishedObjectThatReturnsBeforeItsDestroyIsAnsweredIsSentAgain) {
  ParseThree();
  world.pending = {2};
  Parse(ListOf({Group(1, "a"), Group(3, "c")}));
  world.Take();
  Parse(ListOf({Group(1, "a"), Group(2, "b"), Group(3, "c")}));
  EXPECT_THAT(world.calls, ElementsAre("update 2=b", "commit 2=b"));
  EXPECT_EQ(list.Contents(), "1=a 2=b 3=c");
}

TEST_F(ConfigListTest, WithoutTheKeyEveryObjectIsDestroyed) {
  for (const char* json : {"{}", R"({"LIST": null})", R"({"LIST": {}})", R"({"LIST": []})",
                           R"({"LIST": 5})", R"({"LIST": "text"})", "null", "5", "[1]",
                           R"({"OTHER": [)"
                           R"({"Name": "TEST_12_1", "value": "a"}]})"}) {
    ParseThree();
    Parse(json);
    EXPECT_THAT(world.Take(), UnorderedElementsAre("destroy 1=a", "destroy 2=b", "destroy 3=c",
                                                   "commit 1=a", "delete 1=a", "commit 2=b",
                                                   "delete 2=b", "commit 3=c", "delete 3=c"))
        << json;
    EXPECT_EQ(list.Size(), 0u) << json;
  }
}

TEST_F(ConfigListTest, ANullOrEmptyElementIsSkippedAndItsFormerObjectVanishes) {
  for (const char* element : {"null", "{}", "[]"}) {
    ParseThree();
    Parse(ListOf({Group(1, "a"), element, Group(3, "c")}));
    EXPECT_THAT(world.Take(), ElementsAre("destroy 2=b", "commit 2=b", "delete 2=b")) << element;
    EXPECT_EQ(list.Contents(), "1=a 3=c") << element;
    list.Clear();
    world.Take();
  }
}

TEST_F(ConfigListTest, ARejectedElementIsDroppedSilentlyAndItsFormerObjectVanishes) {
  ParseThree();
  Parse(ListOf({Group(1, "a"), Group(2, "b", R"(, "reject": true)"), Group(3, "C")}));
  EXPECT_THAT(world.calls,
              ElementsAre("update 3=C", "destroy 2=b", "commit 2=b", "delete 2=b", "commit 3=C"));
  EXPECT_THAT(trace.Assertions(), IsEmpty());
  EXPECT_THAT(trace.AtLevel(0), IsEmpty());
}

TEST_F(ConfigListTest, AScalarElementReachesTheObjectsParser) {
  Parse(R"({"LIST": [5, "text"]})");
  EXPECT_THAT(world.calls, ElementsAre("commit 0="));
  EXPECT_EQ(list.Contents(), "0=");
}

// ---- two groups with the same key

TEST_F(ConfigListTest, TheSecondGroupOfAKeyIsReportedAndProcessedAllTheSame) {
  Parse(ListOf({Group(5, "a"), Group(5, "a")}));
  EXPECT_THAT(trace.TakeAssertions(), ElementsAre(StartsWith("res == 1|dcl_config_object|")));
  EXPECT_EQ(list.Contents(), "5=a");
  EXPECT_THAT(world.Take(), ElementsAre("commit 5=a"));

  Parse(ListOf({Group(5, "a"), Group(5, "b")}));
  EXPECT_THAT(trace.TakeAssertions(), ElementsAre(StartsWith("res == 1|dcl_config_object|")));
  EXPECT_THAT(world.Take(), ElementsAre("update 5=b", "commit 5=b"));
  EXPECT_EQ(list.Contents(), "5=b");

  Parse(ListOf({Group(6, "x"), Group(6, "y"), Group(6, "y")}));
  EXPECT_THAT(trace.TakeAssertions(), ElementsAre(StartsWith("res == 1|dcl_config_object|"),
                                                  StartsWith("res == 1|dcl_config_object|")));
  EXPECT_THAT(world.Take(),
              ElementsAre("update 6=y", "destroy 5=b", "commit 5=b", "delete 5=b", "commit 6=y"));
  EXPECT_EQ(list.Contents(), "6=y");
}

TEST_F(ConfigListTest, TheCallsWorkOutsideOfAParse) {
  const Node node(ListOf({Group(1, "a")}));
  EXPECT_EQ(list.ParseOptions(node, "file", VLAN_OPTIONS), 1);
  EXPECT_THAT(trace.Assertions(), IsEmpty());
  EXPECT_THAT(world.calls, IsEmpty()) << "nothing is committed";
  EXPECT_EQ(list.Contents(), "1=a");
  // Nothing is unclaimed now, so the match is reported.
  EXPECT_EQ(list.ParseOptions(node, "file", VLAN_OPTIONS), 1);
  EXPECT_THAT(trace.Assertions(), ElementsAre(StartsWith("res == 1|dcl_config_object|")));
}

// ---- FindNewObjectAndUpdate

TEST_F(ConfigListTest, AnEmptyListAnswersTwo) {
  TestObject parsed(router, world);
  EXPECT_EQ(list.FindNewObjectAndUpdate(&parsed), 2);
}

TEST_F(ConfigListTest, TheWalkAsksInListOrderAndStopsAtTheFirstMatch) {
  for (unsigned int id = 1; id <= 4; ++id) {
    list.Append(VLAN, id);
  }
  std::vector<unsigned int> asked;
  int answer = 0;
  world.compare = [&](TestObject& object, TestObject&) {
    asked.push_back(object.GetId());
    return object.GetId() == 3 ? answer : 2;
  };
  TestObject parsed(router, world);
  parsed.temporary = true;
  list.At(2)->SetActionReq(false);
  EXPECT_EQ(list.FindNewObjectAndUpdate(&parsed), 0);
  EXPECT_THAT(asked, ElementsAre(1, 2, 3));
  EXPECT_FALSE(list.At(2)->GetActionReq());
  EXPECT_THAT(world.calls, IsEmpty());
  asked.clear();
  answer = 1;
  EXPECT_EQ(list.FindNewObjectAndUpdate(&parsed), 1);
  EXPECT_THAT(asked, ElementsAre(1, 2, 3));
  EXPECT_TRUE(list.At(2)->GetActionReq());
  EXPECT_THAT(world.calls, ElementsAre("update 3="));
}

TEST_F(ConfigListTest, WithoutAMatchTheLastAnswerCountsAndOnlyTwoIsNew) {
  for (unsigned int id = 1; id <= 3; ++id) {
    list.Append(VLAN, id)->SetActionReq(false);
  }
  for (int last : {2, 3, -1, 4711}) {
    world.compare = [last](TestObject& object, TestObject&) {
      return object.GetId() == 3 ? last : object.GetId() == 2 ? 5 : 2;
    };
    TestObject parsed(router, world);
    parsed.temporary = true;
    EXPECT_EQ(list.FindNewObjectAndUpdate(&parsed), last);
    const std::size_t before = list.Size();
    const Node group(Group(9, "x"));
    EXPECT_EQ(list.ParseGroup(group, "file", VLAN_OPTIONS), 1);
    EXPECT_EQ(list.Size(), before + (last == 2 ? 1 : 0)) << last;
    if (list.Size() > before) {
      list.At(before)->SetKey(99, 99);
      list.Clear(99);
    }
  }
  EXPECT_THAT(trace.Assertions(), IsEmpty());
}

// ---- ParseObjectFromOption and ParseGroup

TEST_F(ConfigListTest, ParseObjectFromOptionFillsTheObjectBeforeItsParser) {
  const Node group(Group(5, "a"));
  DclConfigObject* object = list.ParseObjectFromOption(group, "source", REMOTE_OPTIONS);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->GetName(), "source");
  EXPECT_EQ(object->GetType(), REMOTE_OPTIONS);
  EXPECT_EQ(object->GetVlan(), VLAN);
  EXPECT_EQ(object->GetId(), 5u);
  EXPECT_EQ(static_cast<TestObject*>(object)->parsedVlan, VLAN);
  EXPECT_EQ(list.Size(), 0u);
  delete object;
}

TEST_F(ConfigListTest, ParseObjectFromOptionDeletesARejectedObject) {
  const Node group(Group(5, "a", R"(, "reject": true)"));
  EXPECT_EQ(list.ParseObjectFromOption(group, "source", VLAN_OPTIONS), nullptr);
  EXPECT_EQ(world.live, 0);
  EXPECT_EQ(list.ParseGroup(group, "source", VLAN_OPTIONS), 1);
  EXPECT_EQ(list.Size(), 0u);
  EXPECT_THAT(trace.Assertions(), IsEmpty());
}

TEST_F(ConfigListTest, AFactoryThatYieldsNothingIsReportedAndTheGroupIgnored) {
  world.createFails = true;
  const Node group(Group(5, "a"));
  EXPECT_EQ(list.ParseObjectFromOption(group, "file", VLAN_OPTIONS), nullptr);
  EXPECT_THAT(trace.TakeAssertions(), ElementsAre(StartsWith("new_obj|dcl_config_object|")));
  EXPECT_EQ(list.ParseGroup(group, "file", VLAN_OPTIONS), 1);
  EXPECT_THAT(trace.TakeAssertions(), ElementsAre(StartsWith("new_obj|dcl_config_object|")));
  EXPECT_EQ(list.Size(), 0u);
}

TEST_F(ConfigListTest, ACloneThatYieldsNothingIsReportedAndNothingAppended) {
  world.cloneFails = true;
  Parse(ListOf({Group(5, "a"), Group(6, "b")}));
  EXPECT_THAT(trace.Assertions(), ElementsAre(StartsWith("obj|dcl_config_object|"),
                                              StartsWith("obj|dcl_config_object|")));
  EXPECT_EQ(list.Size(), 0u);
  EXPECT_EQ(world.live, 0);
}

// ---- a concrete list with operations of its own

// Does what the base does, and says so.
class OverridingList : public TestList {
 public:
  using TestList::TestList;

  int ParseOptions(const OptionsNode& node, const string& name,
                   DclConfigObject::OptionType type) override {
    world.calls.push_back("groups");
    return TestList::ParseOptions(node, name, type);
  }
  DclConfigObject* ParseObjectFromOption(const OptionsNode& group, const string& name,
                                         DclConfigObject::OptionType type) override {
    world.calls.push_back("object");
    return TestList::ParseObjectFromOption(group, name, type);
  }
  int FindNewObjectAndUpdate(DclConfigObject* parsed) override {
    world.calls.push_back("find");
    return TestList::FindNewObjectAndUpdate(parsed);
  }
  void CommitToMib() override {
    world.calls.push_back("commit all");
    TestList::CommitToMib();
  }
};

TEST_F(ConfigListTest, TheConcreteListsOperationsAreUsed) {
  OverridingList concrete(&router, world);
  concrete.Parse(Node(ListOf({Group(1, "a"), Group(2, "b")})), "file", VLAN_OPTIONS);
  EXPECT_THAT(world.Take(), ElementsAre("groups", "object", "find", "object", "find", "commit all",
                                        "commit 1=a", "commit 2=b"));
  concrete.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_THAT(world.Take(), ElementsAre("destroy 1=a", "destroy 2=b", "commit all", "commit 1=a",
                                        "delete 1=a", "commit 2=b", "delete 2=b"));
}

// ---- entries without an object

TEST_F(ConfigListTest, AMissingObjectIsReportedAndPassedOver) {
  list.AppendNull();
  list.Append(VLAN, 1, "a");
  Parse(ListOf({Group(1, "a"), Group(2, "b")}));
  EXPECT_THAT(trace.Assertions(), ElementsAre(StartsWith("obj|dcl_config_object|"),
                                              StartsWith("obj|dcl_config_object|"),
                                              StartsWith("dclco|dcl_config_object|")));
  EXPECT_EQ(list.Contents(), "null 1=a 2=b");
  EXPECT_THAT(world.calls, ElementsAre("commit 2=b"));
}

TEST_F(ConfigListTest, NoOperationTouchesAMissingObject) {
  list.AppendNull();
  TestObject parsed(router, world);
  parsed.temporary = true;
  EXPECT_EQ(list.FindNewObjectAndUpdate(&parsed), 2);
  list.CommitToMib();
  list.SetDestroy();
  list.Clear(VLAN);
  list.Clear(VLAN, true);
  list.Clear(VLAN, false);
  list.DisplayList(nullptr, {});
  EXPECT_FALSE(list.CheckInMib(0, 0));
  list.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_EQ(list.Size(), 1u);
  list.Clear();
  EXPECT_EQ(list.Size(), 0u);
  EXPECT_THAT(world.calls, IsEmpty());
}

}  // namespace
}  // namespace config_test
