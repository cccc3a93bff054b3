// The log's formats, and what it tells of an ordinary day.
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>

#include "client_fixture.h"

namespace {

using system_test::Arguments;
using system_test::DaemonProcess;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

const char* const PREFIX =
    "^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\\+05:45 "
    "(error|warning|notice|info|debug) (library|stack|host): ";

/// A log that ends with this; how long the daemon has lived is a matter of the machine.
testing::Matcher<const std::string&> StoppedBy(const std::string& cause,
                                               const std::string& before = "\n") {
  return testing::ContainsRegex(before + "Stopped after 00:0[0-9]:[0-9][0-9]: " + cause + "\n$");
}

class LogFormats : public system_test::Client {
 protected:
  // With what stands in sh before `exec`, and after the daemon's words; semicolons are taken.
  void Start(const Arguments& more, const std::string& before = {}, const std::string& after = {}) {
    Arguments arguments{"--config", folder.Path(), "--daemon", "--socket",
                        path,       "--tick-us",   "100",      "--lab"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    daemon = std::make_unique<DaemonProcess>(
        arguments, DaemonProcess::PIPES,
        "sh;-c;" + before + " exec \"$@\" " + after + ";sh;" + VANTACORED_COMMAND);
    AwaitDaemon();
  }
  // Every part of the device writes something of its start then.
  void WithARow() const {
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"IF_LIST": {
        "eth0": {"Name": "RIP_10_3", "cost": 2}}}}}})");
  }
  // A reload is over when everything has been answered.
  void AwaitAnswers() const { EXPECT_EQ(Run({"reload"}).status, 0); }
  void End() {
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
  }
  // A stream of a supervisor's, and the variable that names it, whatever the daemon writes to.
  std::string WithJournal() const {
    const std::string file = "'" + place.PathOf("journal") + "'";
    return ": >" + file + " && export JOURNAL_STREAM=$(stat -c %d:%i " + file + ") &&";
  }
  std::string Journal() const {
    std::ifstream file(place.PathOf("journal"));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void ExpectEachLine(const std::string& text, const std::string& pattern) {
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      EXPECT_THAT(line, testing::ContainsRegex(pattern));
    }
    EXPECT_GT(count, 1);
  }
};

TEST_F(LogFormats, ArePlainByDefault) {
  Start({});
  End();
  EXPECT_THAT(daemon->Log(), StartsWith("Revision 1, start: 2 VLANs added, "));
  EXPECT_THAT(daemon->Log(), HasSubstr("requests\nStarted: vantacored "));
  EXPECT_THAT(daemon->Log(), HasSubstr(" with " + folder.Path() +
                                       ", revision 1: 2 VLANs, 1 interface, 0 routes\nStopped "));
  EXPECT_THAT(daemon->Log(), StoppedBy("SIGTERM"));
}

// The zone has no summer, so that the test knows it at any time.
TEST_F(LogFormats, TellTimeLevelAndComponent) {
  WithARow();
  Start({"--log-format", "full", "--log", "10"}, "export TZ=NPT-5:45 &&");
  AwaitAnswers();
  End();
  ExpectEachLine(daemon->Log(), PREFIX);
  EXPECT_THAT(daemon->Log(), HasSubstr(" debug library: Creating VLAN 10\n"));
  EXPECT_THAT(daemon->Log(), HasSubstr(" info library: AddressAction: shared_context = "));
  EXPECT_THAT(daemon->Log(), HasSubstr(" info stack: ProtocolRowAction: shared_context = "));
  EXPECT_THAT(daemon->Log(), HasSubstr(" notice host: Revision 1, start: "));
  EXPECT_THAT(daemon->Log(), HasSubstr(" notice host: Started: vantacored "));
  EXPECT_THAT(daemon->Log(), StoppedBy("SIGTERM", " notice host: "));
}

TEST_F(LogFormats, KnowTheJournal) {
  WithARow();
  Start({"--log", "10"}, WithJournal(), "2>>'" + place.PathOf("journal") + "'");
  AwaitAnswers();
  End();
  ExpectEachLine(Journal(), "^<[34567]>[A-Zi]");
  EXPECT_THAT(Journal(), HasSubstr("\n<7>Creating VLAN 10\n"));
  EXPECT_THAT(Journal(), HasSubstr("\n<6>ProtocolRowAction: shared_context = "));
  EXPECT_THAT(Journal(), HasSubstr("\n<5>Started: vantacored "));
}

// An error, a warning, a refusal, and rows that the stack refuses for a while.
TEST_F(LogFormats, TellWhatSomebodyShouldLookAt) {
  Start({"--log-format", "journal"});
  EXPECT_EQ(Run({"undo", "7"}).status, 1);
  folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  EXPECT_EQ(Run({"reload"}).status, 0);
  EXPECT_EQ(Run({"lab", "stack", "refuse", "route", "1", "times"}).status, 0);
  folder.Write("vlans.json", WithRoutes(1));
  EXPECT_EQ(Run({"reload"}).status, 5);
  folder.Write("vlans.json", "{");
  EXPECT_EQ(Run({"reload"}).status, 1);
  daemon->ReadErrorsUntil("<4>Refused to ");
  daemon->ReadErrorsUntil("\n<4>remote/far.json:1:");
  daemon->ReadErrorsUntil("\n<5>Revision 2, reload by ");
  daemon->ReadErrorsUntil("\n<4>VLAN 10: route ");
  daemon->ReadErrorsUntil(" is missing in the stack");
  daemon->ReadErrorsUntil("\n<3>vlans.json:1:");
  End();
}

TEST_F(LogFormats, ArePlainWhereTheJournalIsElsewhere) {
  Start({}, WithJournal());
  End();
  EXPECT_THAT(daemon->Log(), StartsWith("Revision 1, start: "));
  EXPECT_EQ(Journal(), "");
}

TEST_F(LogFormats, AreWhatTheOptionSaysInTheJournalToo) {
  Start({"--log-format=plain"}, WithJournal(), "2>>'" + place.PathOf("journal") + "'");
  End();
  EXPECT_THAT(Journal(), StartsWith("Revision 1, start: "));
  EXPECT_THAT(Journal(), Not(HasSubstr("<")));
}

// Views, and commands that are refused, change nothing.
TEST_F(LogFormats, TellWhoHasChangedSomethingAtAConsole) {
  Start({});
  const std::string logged = daemon->Log();
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).status, 0);
  EXPECT_EQ(Run({"lab", "interface", "eth9", "down"}).status, 1);
  EXPECT_EQ(Run({"lab", "tick", "slow"}).status, 2);
  EXPECT_EQ(Run({"lab", "stack", "restart"}).status, 0);
  EXPECT_EQ(Run({"lab", "tick", "normal"}).status, 0);
  daemon->ReadErrorsUntil("Started: ");
  EXPECT_THAT(daemon->ReadErrorsUntil(": lab stack restart\n"),
              MatchesRegex("vantacored [^\n]*\n[^\n ]+ at the socket: lab stack restart\n"));
  EXPECT_THAT(daemon->ReadErrorsUntil(": lab tick normal\n"),
              MatchesRegex("[^\n ]+ at the socket: lab tick normal\n"));
  End();
}

TEST_F(LogFormats, TellWhyItStops) {
  const auto end = [this](const std::string& input) {
    return system_test::RunDaemon({"--config", folder.Path()}, input).log;
  };
  EXPECT_THAT(end("quit\n"), StoppedBy("quit"));
  EXPECT_THAT(end(""), StoppedBy("the end of its console"));
  folder.Write("vlans.json", "{");
  const std::string refused = end("");
  EXPECT_THAT(refused, StoppedBy("nothing that could be applied"));
  EXPECT_THAT(refused, Not(HasSubstr("Started")));
}

}  // namespace
