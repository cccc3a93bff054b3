// What a daemon is started with: the folder, or what was in force before.
#include <gmock/gmock.h>

#include <csignal>

#include "transactions_fixture.h"

namespace {

using system_test::Result;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Starts : public system_test::Transactions {
 protected:
  // A daemon with three routes in force, of revision 2; revision 1 has one.
  void Prepare() {
    StartDaemon();
    WriteRoutes(3);
    ASSERT_EQ(Ask({"reload"}).status, 0);
  }
  // The same with a daemon that takes another number of routes from the folder.
  void ExpectFolderApplies() {
    WriteRoutes(7);
    Restart(SIGKILL);
    EXPECT_EQ(CountRoutes(), 7);
  }
};

TEST_F(Starts, ApplyAFolderThatHasChanged) {
  Prepare();
  WriteRoutes(2);
  Restart(SIGKILL);
  EXPECT_EQ(CountRoutes(), 2);
  daemon->ReadErrorsUntil("Revision 3, start: ");
}

TEST_F(Starts, GoOnWithARevisionWhereTheFolderHasErrors) {
  Prepare();
  Spoil();
  Restart(SIGKILL);
  daemon->ReadErrorsUntil("vlans.json:1:");
  daemon->ReadErrorsUntil(
      "Revision 2 is in force, not the folder, which has errors: correct it and `reload`\n");
  EXPECT_EQ(CountRoutes(), 3);
  EXPECT_EQ(Ask({"reload"}).status, 1);
  EXPECT_EQ(CountRoutes(), 3);
  ExpectFolderApplies();
}

TEST_F(Starts, GoOnWithARevisionWhereADocumentIsMissing) {
  Prepare();
  folder.Remove("vlans.json");
  Restart(SIGKILL);
  EXPECT_EQ(CountRoutes(), 3);
  folder.Remove("device.json");
  Restart(SIGKILL);
  EXPECT_EQ(CountRoutes(), 3);
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  ExpectFolderApplies();
}

TEST_F(Starts, EndWithAnErrorWhereNothingWasInForce) {
  Spoil();
  EXPECT_EQ(Batch("").status, 1);
  WriteRoutes(1);
  EXPECT_EQ(Batch("").status, 0);
  Spoil();
  EXPECT_EQ(Batch("").status, 0);
  EXPECT_EQ(Batch("", {"--fresh"}).status, 1);
}

TEST_F(Starts, GoBackWhereAReloadWasNotConfirmed) {
  for (const int end : {SIGKILL, SIGTERM}) {
    WriteRoutes(1);
    StartDaemon();
    WriteRoutes(3);
    ASSERT_EQ(Ask({"reload", "confirm", "86400"}).status, 0);
    Restart(end);
    daemon->ReadErrorsUntil(" comes back: the reload after it was not confirmed\n");
    EXPECT_EQ(CountRoutes(), 1);
    Restart(SIGKILL);
    EXPECT_EQ(CountRoutes(), 1) << "what the folder says was undone";
    ExpectFolderApplies();
    EndDaemon(SIGTERM);
  }
}

TEST_F(Starts, DoNotApplyWhatWasUndone) {
  Prepare();
  ASSERT_EQ(Ask({"undo"}).status, 0);
  Restart(SIGKILL);
  daemon->ReadErrorsUntil(" is in force, not the folder: what it says was undone\n");
  EXPECT_EQ(CountRoutes(), 1);
  daemon->Kill(SIGHUP);
  daemon->ReadErrorsUntil("Refused to SIGHUP: the folder says what was undone");
  EXPECT_EQ(CountRoutes(), 1);
  EXPECT_THAT(Ask({"history"}).output, HasSubstr("The folder differs from what is in force"));
  EXPECT_EQ(Ask({"reload"}).status, 0);
  EXPECT_EQ(CountRoutes(), 3);
  EXPECT_THAT(Ask({"history"}).output, Not(HasSubstr("The folder differs")));
  Restart(SIGKILL);
  EXPECT_EQ(CountRoutes(), 3);
  ASSERT_EQ(Ask({"undo"}).status, 0);
  ExpectFolderApplies();
}

TEST_F(Starts, TakeTheFolderWhenTheyAreToldTo) {
  Prepare();
  ASSERT_EQ(Ask({"undo"}).status, 0);
  Restart(SIGKILL, {"--fresh"});
  EXPECT_EQ(CountRoutes(), 3);
  WriteRoutes(5);
  ASSERT_EQ(Ask({"reload", "confirm", "600"}).status, 0);
  Restart(SIGKILL, {"--fresh"});
  EXPECT_EQ(CountRoutes(), 5);
  folder.Remove("vlans.json");
  Restart(SIGKILL, {"--fresh"});
  EXPECT_EQ(CountRoutes(), 0);
}

// A second daemon on the same folder has a look at it, and leaves the first one's revisions alone.
TEST_F(Starts, KeepNoRevisionsBesideAnotherDaemon) {
  Prepare();
  const Result second = Batch("undo\nreload\n");
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.log, HasSubstr("warning: no revisions are kept: "));
  EXPECT_THAT(second.log, HasSubstr(": another daemon keeps its revisions there\n"));
  EXPECT_THAT(second.log, HasSubstr("Refused to pipe: no revisions are kept: "));
  EXPECT_THAT(Ask({"undo"}).output, StartsWith("Revision 3, undo to revision 1"));
}

}  // namespace
