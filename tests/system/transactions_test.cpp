// The words about plans, revisions and ways back: by a pipe, a terminal and a client, with the
// status that a script sees.
#include <gmock/gmock.h>

#include <csignal>

#include "shown.h"
#include "signs.h"
#include "transactions_fixture.h"

namespace {

using system_test::DaemonProcess;
using system_test::Result;
using system_test::RunDaemon;
using system_test::Transactions;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* TABLE_END = "End of table\n";

TEST_F(Transactions, AreCarriedOutFromAPipe) {
  DaemonProcess process(With({}), DaemonProcess::PIPES);
  const auto show = [&process] {
    process.Send("rtm rib\n");
    return CountRoutes(process.ReadUntil(TABLE_END));
  };
  EXPECT_EQ(show(), 1);
  WriteRoutes(3);
  process.Send("diff\n");
  EXPECT_THAT(process.ReadUntil("requests"), AllOf(HasSubstr("VLAN 10\n"), HasSubstr("\n  + ")));
  EXPECT_EQ(show(), 1);
  process.Send("reload\n");
  EXPECT_EQ(show(), 3);
  EXPECT_THAT(process.ReadErrorsUntil("Revision 2, reload by pipe: "), HasSubstr("Revision 1, "));
  process.Send("undo\n");
  EXPECT_EQ(show(), 1);
  process.ReadErrorsUntil("Revision 3, undo to revision 1 by pipe: ");
  process.Send("undo\n");
  EXPECT_EQ(show(), 3);
  process.Send("undo 3\n");
  EXPECT_EQ(show(), 1);
  process.ReadErrorsUntil("Revision 5, undo to revision 1 by pipe: ");
  process.Send("reload confirm 600\n");
  EXPECT_EQ(show(), 3);
  process.ReadErrorsUntil("`confirm 6` within 600 s keeps it; otherwise revision 5 comes back");
  process.Send("confirm 6\nhistory\n");
  process.ReadUntil("*     6  ");
  process.ReadErrorsUntil("Revision 6 is confirmed by pipe\n");
  process.Send("revision 6\n");
  process.ReadUntil("Revision 6, in force\n");
  process.Send("diff 5\n");
  process.ReadUntil("  - ");
  process.CloseInput();
  EXPECT_EQ(process.Wait(), 0);
}

TEST_F(Transactions, GiveABatchItsStatus) {
  ASSERT_EQ(Batch("").status, 0);
  WriteRoutes(2);
  EXPECT_EQ(Batch("diff\nhistory\nrevision 1\ndiff 1\n").status, 0);
  for (const char* line : {"undo 7", "confirm 1", "revision 7", "diff 7"}) {
    EXPECT_EQ(Batch(std::string(line) + "\n").status, 1) << line;
  }
  for (const char* line :
       {"undo 0", "confirm", "confirm x", "revision", "revision 0", "diff x", "reload confirm",
        "reload confirm 0", "reload confirm 86401", "reload force 5", "history 5"}) {
    EXPECT_EQ(Batch(std::string(line) + "\n").status, 2) << line;
  }
  EXPECT_EQ(Batch("undo\nundo\n").status, 0);
  Spoil();
  for (const char* line : {"reload", "reload force", "reload confirm 60", "diff"}) {
    EXPECT_EQ(Batch(std::string(line) + "\n").status, 1) << line;
  }
}

TEST_F(Transactions, GiveABatchTheStatusOfARefusalWhileOneIsOpen) {
  DaemonProcess process(With({}), DaemonProcess::PIPES);
  process.ReadErrorsUntil("Revision 1, start: ");
  WriteRoutes(2);
  process.Send("reload confirm 600\nreload\n");
  process.ReadErrorsUntil("Refused to pipe: revision 2 of pipe waits for its confirmation, ");
  process.CloseInput();
  EXPECT_EQ(process.Wait(), 1);
}

// A daemon for a look, beside another one or without a place for revisions.
TEST_F(Transactions, NeedRevisionsForAWayBack) {
  const auto batch = [this](const std::string& line) {
    return RunDaemon({"--config", folder.Path(), "--tick-us", "100"}, line + "\n");
  };
  const std::string reason = "no revisions are kept: --state DIR says where to keep them\n";
  for (const char* line : {"history", "revision 1", "diff 1"}) {
    const Result result = batch(line);
    EXPECT_EQ(result.output, "Refused: " + reason) << line;
    EXPECT_EQ(result.status, 1) << line;
  }
  for (const char* line : {"undo", "confirm 1", "reload confirm 60"}) {
    const Result result = batch(line);
    EXPECT_THAT(result.log, HasSubstr("Refused to pipe: " + reason)) << line;
    EXPECT_EQ(result.status, 1) << line;
  }
  EXPECT_EQ(batch("diff\nreload\nverify").status, 0);
}

TEST_F(Transactions, AreCarriedOutForAClient) {
  StartDaemon();
  EXPECT_EQ(Ask({"diff"}).status, 0);
  WriteRoutes(3);
  const Result diff = Ask({"diff"});
  EXPECT_THAT(diff.output, StartsWith("VLAN 10\n  + "));
  EXPECT_EQ(diff.status, 0);
  const Result reload = Ask({"reload"});
  EXPECT_THAT(reload.output, StartsWith("Revision 2, reload by "));
  EXPECT_THAT(reload.output, HasSubstr(" at the socket: "));
  EXPECT_EQ(reload.status, 0);
  daemon->ReadErrorsUntil(reload.output);
  EXPECT_EQ(CountRoutes(), 3);
  const Result undo = Ask({"undo"});
  EXPECT_THAT(undo.output, StartsWith("Revision 3, undo to revision 1 by "));
  EXPECT_EQ(undo.status, 0);
  EXPECT_EQ(CountRoutes(), 1);
  const Result history = Ask({"history"});
  EXPECT_THAT(
      history.output,
      AllOf(HasSubstr("      1  "), HasSubstr("      2  "), HasSubstr("*     3  "),
            EndsWith("The folder differs from what is in force: what it says was undone\n")));
  EXPECT_EQ(history.status, 0);
  EXPECT_THAT(Ask({"revision", "3"}).output, StartsWith("Revision 3, in force\n"));
  EXPECT_THAT(Ask({"diff", "2"}).output, StartsWith("VLAN 10\n  + "));
  for (const system_test::Arguments& words : std::vector<system_test::Arguments>{
           {"undo", "3"}, {"confirm", "3"}, {"revision", "4"}, {"diff", "4"}}) {
    const Result refused = Ask(words);
    EXPECT_THAT(refused.output, StartsWith("Refused: ")) << words[0];
    EXPECT_EQ(refused.status, 1) << words[0];
  }
  for (const system_test::Arguments& words : std::vector<system_test::Arguments>{
           {"undo", "x"}, {"confirm"}, {"revision"}, {"diff", "x"}, {"reload", "confirm", "0"}}) {
    EXPECT_EQ(Ask(words).status, 2) << words[0];
  }
  Spoil();
  for (const system_test::Arguments& words :
       std::vector<system_test::Arguments>{{"diff"}, {"reload"}, {"reload", "force"}}) {
    const Result refused = Ask(words);
    EXPECT_THAT(refused.output, StartsWith("vlans.json:1:")) << words[0];
    EXPECT_EQ(refused.status, 1) << words[0];
  }
  EXPECT_EQ(CountRoutes(), 1);
}

TEST_F(Transactions, AreCarriedOutAtATerminal) {
  const char* const prompt = "vantacore[10]> ";
  DaemonProcess process(With({}), DaemonProcess::TERMINAL);
  process.ReadUntil(prompt);
  WriteRoutes(3);
  const auto type = [&](const std::string& line) {
    process.SendAndAwaitReading(line + "\r");
    return process.ReadUntil(prompt);
  };
  EXPECT_THAT(type("diff"), HasSubstr("  + "));
  EXPECT_THAT(type("reload confirm 600"), HasSubstr("Revision 2, reload by terminal: "));
  EXPECT_THAT(type("reload"), HasSubstr("Refused to terminal: revision 2 of terminal waits"));
  EXPECT_THAT(type("confirm 2"), HasSubstr("Revision 2 is confirmed by terminal\r\n"));
  EXPECT_EQ(CountRoutes(system_test::Shown(type("rtm rib"))), 3);
  EXPECT_THAT(type("undo"), HasSubstr("Revision 3, undo to revision 1 by terminal: "));
  EXPECT_THAT(type("history"), HasSubstr("*     3  "));
  process.SendAndAwaitReading("hi\t");
  process.ReadUntil("story ");  // the rest of the word
  process.Send("\rquit\r");
  EXPECT_EQ(process.Wait(), 0);
}

TEST_F(Transactions, GoBackByThemselvesUnlessConfirmed) {
  StartDaemon();
  WriteRoutes(3);
  EXPECT_EQ(Ask({"reload", "confirm", "1"}).status, 0);
  daemon->ReadErrorsUntil("Revision 2 was not confirmed in time\n");
  daemon->ReadErrorsUntil("Revision 3, way back to revision 1: ");
  EXPECT_EQ(Ask({"history"}).status, 0) << "it begins when the way back has been asked for";
  EXPECT_EQ(Ask({"undo", "9"}).status, 1);
  EXPECT_EQ(CountRoutes(), 1);
  EXPECT_EQ(Ask({"confirm", "2"}).status, 1);
  EXPECT_EQ(Ask({"reload", "confirm", "600"}).status, 0);
  EXPECT_EQ(Ask({"confirm", "5"}).status, 1);
  EXPECT_EQ(Ask({"confirm", "4"}).status, 0);
  EXPECT_EQ(Ask({"confirm", "4"}).status, 1);
  EXPECT_EQ(CountRoutes(), 3);
}

// Whoever waits at the daemon's own prompt, and whoever watches.
TEST_F(Transactions, TellThatTheyHaveGoneBack) {
  const char* const prompt = "vantacore[10]> ";
  DaemonProcess process(With({"--socket", path}), DaemonProcess::TERMINAL);
  process.ReadUntil(prompt);
  DaemonProcess watcher({"--socket", path, "watch", "reload"}, DaemonProcess::PIPES,
                        VANTACORECTL_COMMAND);
  system_test::Await("somebody who watches", [this] {
    return Ask({"status"}).output.find("sessions        3\n") != std::string::npos;
  });
  WriteRoutes(3);
  process.SendAndAwaitReading("reload confirm 1\r");
  process.ReadUntil("otherwise revision 1 comes back");
  process.ReadUntil(prompt);
  process.ReadUntil("Revision 2 was not confirmed in time");  // nothing has been typed
  process.ReadUntil("Revision 3, way back to revision 1: ");
  process.ReadUntil(prompt);
  watcher.ReadUntil(" Revision 2 was not confirmed in time (");
  watcher.ReadUntil(" Revision 3, way back to revision 1: ");
  process.Send("quit\r");
  EXPECT_EQ(process.Wait(), 0);
}

TEST_F(Transactions, KeepOthersOutWhileOneIsOpen) {
  StartDaemon();
  WriteRoutes(3);
  EXPECT_EQ(Ask({"reload", "confirm", "600"}).status, 0);
  WriteRoutes(5);
  for (const system_test::Arguments& words : std::vector<system_test::Arguments>{
           {"reload"}, {"reload", "force"}, {"reload", "confirm", "5"}}) {
    const Result refused = Ask(words);
    EXPECT_THAT(refused.output, AllOf(StartsWith("Refused: revision 2 of "),
                                      HasSubstr(" at the socket waits"), HasSubstr(" s are left")));
    EXPECT_EQ(refused.status, 1);
  }
  daemon->Kill(SIGHUP);
  daemon->ReadErrorsUntil("Refused to SIGHUP: revision 2 of ");
  EXPECT_EQ(CountRoutes(), 3);
  EXPECT_EQ(Ask({"diff"}).status, 0);
  EXPECT_EQ(Ask({"check"}).status, 0);
  const Result undo = Ask({"undo"});
  EXPECT_EQ(undo.status, 0);
  EXPECT_EQ(CountRoutes(), 1);
  EXPECT_THAT(Ask({"reload"}).output, StartsWith("Revision 4, reload by "));
  EXPECT_EQ(CountRoutes(), 5);
}

TEST_F(Transactions, AreRefusedByTheGuardUnlessForced) {
  WriteRoutes(30);
  StartDaemon();
  WriteRoutes(16);
  EXPECT_EQ(Ask({"reload"}).status, 0) << "fourteen of thirty are not more than half";
  WriteRoutes(5);
  const std::string refusal =
      "VLAN 10: 11 of 16 prefixes with an installed static route would have none\n";
  EXPECT_THAT(Ask({"diff"}).output, EndsWith("The guard refuses: " + refusal));
  EXPECT_EQ(Ask({"check"}).status, 0);
  const Result refused = Ask({"reload"});
  EXPECT_EQ(
      refused.output,
      refusal + "Refused: that is more than the guard lets pass; `reload force` applies it\n");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(Ask({"reload", "confirm", "60"}).status, 1);
  daemon->ReadErrorsUntil("Refused to ");
  daemon->ReadErrorsUntil("Refused to ");
  daemon->Kill(SIGHUP);
  daemon->ReadErrorsUntil("Refused to SIGHUP: that is more than the guard lets pass");
  EXPECT_EQ(CountRoutes(), 16);
  EXPECT_EQ(Ask({"reload", "force", "confirm", "60"}).status, 0);
  EXPECT_EQ(CountRoutes(), 5);
  EXPECT_EQ(Ask({"undo"}).status, 0);
  EXPECT_EQ(CountRoutes(), 16);
  Restart(SIGTERM, {"--guard", "100"});
  EXPECT_EQ(CountRoutes(), 16) << "what the folder says was undone";
  WriteRoutes(4);
  EXPECT_EQ(Ask({"reload"}).status, 0);
  EXPECT_EQ(CountRoutes(), 4);
}

// An undo finds the old route where it was.
TEST_F(Transactions, KeepARouteWhileItsSuccessorCannotBeReached) {
  StartDaemon();
  const auto has = [this](const char* row) {
    return Ask({"rtm", "rib"}).output.find(row) != std::string::npos;
  };
  const char* const old = ">  10       10.100.0.0/16         10.1.0.2 ";
  const char* const successor = "   10       10.100.0.0/16        10.99.0.2 ";
  const std::string kept = "1 old route is kept until a new one can take its place, or a reload\n";
  ASSERT_TRUE(has(old));
  WriteRoutes(1, "10.99.0.2");
  EXPECT_EQ(Ask({"reload"}).status, 0);
  EXPECT_TRUE(has(old) && has(successor));
  EXPECT_EQ(Ask({"diff"}).output, "no change\n1 warning; `check` shows it\n" + kept);
  const Result verification = Ask({"verify"});
  EXPECT_EQ(verification.status, 0);
  EXPECT_THAT(verification.output,
              HasSubstr("\nKEPT  VLAN 10: route 10.100.0.0/16 via 10.1.0.2\n"));
  EXPECT_EQ(Ask({"undo"}).status, 0);
  EXPECT_TRUE(has(old) && !has(successor));
  EXPECT_EQ(Ask({"diff", "1"}).output, "no change\n");

  EXPECT_EQ(Ask({"reload"}).status, 0);
  EXPECT_TRUE(has(old) && has(successor));
  EXPECT_EQ(Ask({"reload"}).status, 0);
  EXPECT_TRUE(!has(old) && has(successor));
  daemon->ReadErrorsUntil("route 10.100.0.0/16 via 10.1.0.2 goes without a successor: a ");
}

TEST_F(Transactions, MakeNoRevisionWhereNothingChanges) {
  StartDaemon();
  EXPECT_THAT(Ask({"diff"}).output, StartsWith("no change\n"));
  const Result same = Ask({"reload"});
  EXPECT_THAT(same.output, AllOf(StartsWith("Reload by "), EndsWith(": no change\n")));
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(Ask({"reload", "confirm", "1"}).status, 0);
  EXPECT_EQ(Ask({"confirm", "1"}).status, 1) << "nothing is open";
  EXPECT_THAT(Ask({"history"}).output, AllOf(HasSubstr("*     1  "), Not(HasSubstr("     2  "))));
  Restart(SIGKILL);
  EXPECT_THAT(Ask({"history"}).output, AllOf(HasSubstr("*     1  "), Not(HasSubstr("     2  "))));
}

}  // namespace
