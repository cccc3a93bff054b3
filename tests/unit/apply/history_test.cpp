// Revisions over the lives of several daemons, and what each of them starts with.
#include "device/apply/history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "device/apply/start.h"
#include "device/documents/digest.h"
#include "device/documents/members.h"
#include "tests/support/scratch_folder.h"

namespace {

using apply::Choice;
using apply::ReadRevision;
using documents::Reading;
using revisions::Cause;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Why = Choice::Why;

class History : public testing::Test {
 protected:
  History() {
    WriteFolder(10);
    BeginDaemon();
  }

  void WriteFolder(unsigned int vlan) const {
    config.Write("device.json", R"({"default_vlan": 10})");
    config.Write("vlans.json",
                 R"({"VLAN_CONFIGURATIONS": {"a": {"vid": )" + std::to_string(vlan) + "}}}");
  }
  // It knows what the last one has written.
  void BeginDaemon() {
    history.reset();
    apply::History::Place place;
    place.store = revisions::RevisionStore::Open(state.Path(), config.Path(), {}, place.reason);
    EXPECT_NE(place.store, nullptr) << place.reason;
    place.clock = [this] { return now; };
    history.emplace(std::move(place));
    EXPECT_EQ(history->GetInForce(), 0u);
  }
  Choice Choose(bool isFresh = false) {
    return apply::ReadForStart(documents::ConfigFolder(config.Path(), HOW), HOW, *history, isFresh,
                               reading);
  }
  static documents::Digest DigestOf(const Reading& read) {
    return documents::DigestOf(read.folder);
  }
  void Take(const apply::History::Next& next) {
    if (history->IsToBeKept(next)) {
      EXPECT_EQ(history->Keep(next), "");
    }
    history->Take(next, true);
  }
  // The folder comes into force with this change.
  void Apply(unsigned int confirmSeconds = 0) {
    reading = documents::ConfigFolder(config.Path(), HOW).ReadFirst();
    Take(history->Prepare({Cause::RELOAD, 0, "alice", "a change", confirmSeconds}, reading));
  }
  void GoBackTo(unsigned int number, Cause cause) {
    reading = ReadRevision(*history, *history->Find(number), HOW, {});
    EXPECT_FALSE(reading.findings.HasErrors());
    Take(history->Prepare({cause, number, "bob", "the way back"}, reading));
  }

  const documents::ConfigFolder::Options HOW{documents::DeclaredProtocols(), false, true};
  test_support::ScratchFolder config;
  test_support::ScratchFolder state;
  std::int64_t now = 1000;
  std::optional<apply::History> history;
  Reading reading;  // that was taken last
};

TEST_F(History, BeginsWithTheFolder) {
  EXPECT_EQ(history->GetLastInForce(), 0u);
  const Choice choice = Choose();
  EXPECT_EQ(choice.why, Why::FOLDER);
  EXPECT_EQ(choice.revision, 0u);
  EXPECT_EQ(DescribeChoice(choice), "");
  const auto next = history->Prepare({Cause::START, 0, "", "1 VLAN added"}, reading);
  EXPECT_TRUE(next.isNew);
  EXPECT_EQ(next.revision.number, 1u);
  EXPECT_THAT(next.documents, SizeIs(2));
  EXPECT_TRUE(history->IsToBeKept(next));
  Take(next);
  EXPECT_EQ(history->GetInForce(), 1u);
  EXPECT_EQ(apply::History::Describe(next, true), "Revision 1, start: 1 VLAN added");
  EXPECT_EQ(apply::History::Describe(next, false), "Start: 1 VLAN added");
  EXPECT_THAT(history->List(), ElementsAre("*     1  1970-01-01 00:16:40Z  start: 1 VLAN added"));
}

TEST_F(History, GoesOnWithWhatWasInForce) {
  Apply();
  WriteFolder(20);
  Apply();
  BeginDaemon();
  EXPECT_EQ(history->GetLastInForce(), 2u);
  EXPECT_EQ(Choose().why, Why::SAME);
  const auto next = history->PrepareToGoOn(reading, true);
  EXPECT_FALSE(history->IsToBeKept(next));
  EXPECT_EQ(apply::History::Describe(next, true), "Revision 2, start: it was in force before");
  Take(next);
  EXPECT_EQ(history->GetInForce(), 2u);
  EXPECT_THAT(history->List(),
              ElementsAre("      1  1970-01-01 00:16:40Z  reload by alice: a change",
                          "*     2  1970-01-01 00:16:40Z  reload by alice: a change"));
  EXPECT_THAT(
      history->Show(*history->Find(1)),
      ElementsAre("Revision 1", "  made    1970-01-01 00:16:40Z", "  by      reload by alice",
                  "  change  a change", "  kept    " + history->PathOf(1)));
  EXPECT_EQ(history->Show(*history->Find(2)).front(), "Revision 2, in force");
  EXPECT_EQ(history->FindBefore(1), history->Find(1));
  EXPECT_EQ(history->FindBefore(2), nullptr);
}

// What is missing is more likely an accident than a wish.
TEST_F(History, DoesNotStartWithAFolderThatLacksAFileOfTheRevision) {
  Apply();
  for (const char* name : {"device.json", "vlans.json"}) {
    WriteFolder(10);
    config.Remove(name);
    BeginDaemon();
    const Choice choice = Choose();
    EXPECT_EQ(choice.why, Why::ERRORS) << name;
    EXPECT_EQ(choice.revision, 1u);
    EXPECT_TRUE(choice.findings.HasErrors());
    EXPECT_EQ(DigestOf(reading), history->Find(1)->digest);
    EXPECT_EQ(DescribeChoice(choice),
              "Revision 1 is in force, not the folder, which has errors: correct it and `reload`");
    const Choice fresh = Choose(true);
    EXPECT_EQ(fresh.why, Why::FOLDER) << name;
    EXPECT_NE(DigestOf(reading), history->Find(1)->digest);
  }
}

TEST_F(History, KnowsThatTheFolderWasUndoneUntilThatSaysSomethingElse) {
  Apply();
  WriteFolder(20);
  Apply();
  const documents::Digest folder = DigestOf(reading);
  EXPECT_FALSE(history->GetUndone());
  GoBackTo(1, Cause::UNDO);
  EXPECT_EQ(history->GetUndone(), folder);
  EXPECT_EQ(history->List().back(), apply::FOLDER_DIFFERS);
  EXPECT_EQ(history->List()[2],
            "*     3  1970-01-01 00:16:40Z  undo to revision 1 by bob: the way back");

  BeginDaemon();
  EXPECT_EQ(history->GetUndone(), folder);
  const Choice choice = Choose();
  EXPECT_EQ(choice.why, Why::UNDONE);
  EXPECT_EQ(DescribeChoice(choice),
            "Revision 3 is in force, not the folder: what it says was undone");
  Take(history->PrepareToGoOn(reading, false));
  EXPECT_EQ(history->GetUndone(), folder);

  // Another undo does not change what the folder says, and one to its content ends the difference.
  GoBackTo(1, Cause::UNDO);
  EXPECT_EQ(history->GetUndone(), folder);
  GoBackTo(2, Cause::UNDO);
  EXPECT_FALSE(history->GetUndone());
  GoBackTo(1, Cause::UNDO);
  EXPECT_EQ(history->GetUndone(), folder);

  // The folder says the same as the revision in force now: nothing changes, and that is written.
  WriteFolder(10);
  reading = documents::ConfigFolder(config.Path(), HOW).ReadFirst();
  const auto none = history->PrepareNone({Cause::RELOAD, 0, "alice", "no change"}, reading);
  EXPECT_TRUE(history->IsToBeKept(none));
  Take(none);
  EXPECT_FALSE(history->GetUndone());
  EXPECT_EQ(history->GetInForce(), 6u);
  BeginDaemon();
  EXPECT_FALSE(history->GetUndone());
  EXPECT_EQ(Choose().why, Why::SAME);
}

TEST_F(History, TakesTheFolderThatWasUndoneWhenItIsAskedFor) {
  Apply();
  WriteFolder(20);
  Apply();
  GoBackTo(1, Cause::UNDO);
  BeginDaemon();
  EXPECT_EQ(Choose(true).why, Why::FOLDER);
  Take(history->Prepare({Cause::START, 0, "", "1 VLAN added"}, reading));
  EXPECT_FALSE(history->GetUndone());
  BeginDaemon();
  EXPECT_EQ(Choose().why, Why::SAME);
}

// A folder that a start finds as it is in force is not undone any more.
TEST_F(History, ForgetsWhatWasUndoneWithAFolderThatSaysWhatIsInForce) {
  Apply();
  WriteFolder(20);
  Apply();
  GoBackTo(1, Cause::UNDO);
  WriteFolder(10);
  BeginDaemon();
  EXPECT_EQ(Choose().why, Why::SAME);
  const auto next = history->PrepareToGoOn(reading, true);
  EXPECT_TRUE(history->IsToBeKept(next));
  Take(next);
  EXPECT_FALSE(history->GetUndone());
  GoBackTo(2, Cause::UNDO);
  EXPECT_EQ(history->GetUndone(), history->Find(1)->digest) << "that is what the folder says";
}

TEST_F(History, GoesBackFromWhatWasNotConfirmed) {
  Apply();
  WriteFolder(20);
  now = 2000;
  Apply(60);
  const documents::Digest folder = DigestOf(reading);
  ASSERT_TRUE(history->GetUnconfirmed());
  EXPECT_EQ(history->GetTrial(), 2u);
  EXPECT_EQ(history->GetUnconfirmed()->back, 1u);
  EXPECT_EQ(history->GetUnconfirmed()->until, 2060);
  EXPECT_EQ(history->GetUnconfirmed()->asker, "alice");
  EXPECT_EQ(history->List().back(),
            "Revision 2 waits for its confirmation until 1970-01-01 00:34:20Z");

  BeginDaemon();
  EXPECT_EQ(history->GetTrial(), 2u);
  const Choice choice = Choose();
  EXPECT_EQ(choice.why, Why::UNCONFIRMED);
  EXPECT_EQ(choice.revision, 1u);
  EXPECT_EQ(DescribeChoice(choice), "Revision 1 comes back: the reload after it was not confirmed");
  Take(history->Prepare({Cause::WAY_BACK, 1, "", "1 VLAN removed"}, reading));
  EXPECT_EQ(history->GetTrial(), 0u);
  EXPECT_EQ(history->GetUndone(), folder);
  BeginDaemon();
  EXPECT_EQ(history->GetTrial(), 0u);
  EXPECT_EQ(Choose().why, Why::UNDONE);
  EXPECT_EQ(DigestOf(reading), history->Find(1)->digest);
}

TEST_F(History, GoesOnWithWhatWasConfirmed) {
  Apply();
  WriteFolder(20);
  Apply(60);
  const revisions::State confirmed = history->Confirmed();
  EXPECT_EQ(history->GetTrial(), 2u) << "it has not been written yet";
  EXPECT_EQ(history->Set(confirmed), "");
  history->TakeState(confirmed);
  EXPECT_EQ(history->GetTrial(), 0u);
  EXPECT_EQ(history->GetInForce(), 2u);
  BeginDaemon();
  EXPECT_EQ(history->GetLastInForce(), 2u);
  EXPECT_EQ(Choose().why, Why::SAME);
}

// A start that takes the folder in spite of that ends the trial.
TEST_F(History, TakesWhatWasNotConfirmedWhenItIsAskedFor) {
  Apply();
  WriteFolder(20);
  Apply(60);
  BeginDaemon();
  EXPECT_EQ(Choose(true).why, Why::FOLDER);
  const auto next = history->PrepareToGoOn(reading, true);
  EXPECT_TRUE(history->IsToBeKept(next));
  Take(next);
  EXPECT_EQ(history->GetTrial(), 0u);
  BeginDaemon();
  EXPECT_EQ(Choose().why, Why::SAME);
}

TEST_F(History, DoesNotGoBackToWhatSomebodyHasChanged) {
  Apply();
  WriteFolder(20);
  Apply(60);
  test_support::ScratchFolder elsewhere;
  const std::string file = history->PathOf(1) + "/vlans.json";
  ASSERT_EQ(unlink(file.c_str()), 0);
  elsewhere.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 30}}})");
  ASSERT_EQ(rename(elsewhere.PathOf("vlans.json").c_str(), file.c_str()), 0);
  const Reading changed = ReadRevision(*history, *history->Find(1), HOW, {});
  EXPECT_THAT(changed.findings.Lines(),
              ElementsAre(testing::HasSubstr("not what was kept, expected the documents of "
                                             "revision 1, found others")));
  const Choice choice = Choose();
  EXPECT_EQ(choice.why, Why::FOLDER);
  EXPECT_TRUE(choice.findings.HasErrors());
}

TEST_F(History, KnowsTheLastRevisionBeforeOneThatCouldNotBeKept) {
  Apply();
  WriteFolder(20);
  reading = documents::ConfigFolder(config.Path(), HOW).ReadFirst();
  const auto next = history->Prepare({Cause::RELOAD, 0, "alice", "a change"}, reading);
  history->Take(next, false);
  EXPECT_EQ(history->GetInForce(), 0u);
  EXPECT_EQ(history->GetLastInForce(), 1u);
  EXPECT_EQ(history->FindBefore(1), history->Find(1));
  EXPECT_EQ(history->FindBefore(2), nullptr);
  EXPECT_THAT(history->List(),
              ElementsAre("      1  1970-01-01 00:16:40Z  reload by alice: a change",
                          "What is in force could not be kept as a revision"));
  BeginDaemon();
  EXPECT_EQ(history->GetLastInForce(), 1u);
  EXPECT_EQ(Choose().why, Why::FOLDER) << "it has changed";
}

TEST_F(History, NeedsNoStore) {
  apply::History::Place place;
  place.reason = "the disk is full";
  place.isExpected = true;
  history.emplace(std::move(place));
  EXPECT_FALSE(history->IsKept());
  EXPECT_TRUE(history->IsMissed());
  EXPECT_EQ(history->GetReason(), "the disk is full");
  EXPECT_EQ(history->Find(1), nullptr);
  EXPECT_EQ(history->FindBefore(1), nullptr);
  EXPECT_EQ(Choose().why, Why::FOLDER);
  const auto next = history->Prepare({Cause::START, 0, "", "a change", 60}, reading);
  EXPECT_EQ(next.revision.number, 1u);
  EXPECT_EQ(next.revision.time, 0);
  EXPECT_FALSE(history->IsToBeKept(next));
  history->Take(next, false);
  EXPECT_EQ(history->GetInForce(), 0u);
}

}  // namespace
