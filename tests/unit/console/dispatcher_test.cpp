#include "device/console/dispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "device/program/printable.h"
#include "device/rows/verify.h"
#include "tests/support/device_fixture.h"
#include "tests/support/read_documents.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using console::Reply;
using console::Result;
using console::RunningCommand;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Dispatcher : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"enabled": true}},
                                       "b": {"vid": 20}}})",
           "vlans.json");
    ASSERT_TRUE(Settle());
  }

  Reply Execute(const std::string& line) {
    output.clear();
    overs = 0;
    command = std::make_shared<RunningCommand>(
        vlan, console::Operator{"terminal", seesLog},
        [this](std::string_view text) { output += text; }, [this] { ++overs; });
    Reply reply = dispatcher.Execute(line, command);
    vlan = reply.vlan;
    return reply;
  }
  // How a line went, so far.
  Result ResultOf(const std::string& line) {
    Execute(line);
    return command->GetResult();
  }
  // Of all but a reload and a check a console is the only other holder of its command.
  bool ConsoleIsGone() const { return command.use_count() == 1; }
  void ExpectOver() const {
    EXPECT_EQ(overs, 1);
    EXPECT_TRUE(command->IsOver());
    EXPECT_TRUE(ConsoleIsGone());
  }

  int reloads = 0;
  int checks = 0;
  int verifications = 0;
  rows::Scope scope = rows::Scope::ALL;  // of the last one
  std::size_t mostLines = 0;             // so too
  std::function<void(const std::vector<rows::Verdict>& verdicts)> verified;
  bool isStrict = false;  // the last check
  apply::Asker asker;     // of the last of these
  bool seesLog = true;
  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::Dispatcher dispatcher{{[this](apply::Asker toldAsker, const apply::ReloadRequest&) {
                                    ++reloads;
                                    asker = std::move(toldAsker);
                                  },
                                  [this](apply::Asker toldAsker, bool isToldStrict) {
                                    ++checks;
                                    isStrict = isToldStrict;
                                    asker = std::move(toldAsker);
                                  },
                                  [this](rows::Scope toldScope, std::size_t most, auto done) {
                                    ++verifications;
                                    scope = toldScope;
                                    mostLines = most;
                                    verified = std::move(done);
                                  }},
                                 &lab};
  unsigned short vlan = 10;
  std::shared_ptr<RunningCommand> command;
  std::string output;
  int overs = 0;
};

TEST_F(Dispatcher, DoesNothingForAnEmptyLine) {
  EXPECT_EQ(ResultOf("  \t "), Result::DONE);
  EXPECT_EQ(output, "");
  ExpectOver();
}

TEST_F(Dispatcher, TakesNoLineUpToANul) {
  for (const std::string& line : {std::string("vrf 20\0", 7), std::string("\0help", 5),
                                  std::string("ip protocol summary\0x", 21)}) {
    EXPECT_EQ(ResultOf(line), Result::USAGE);
    EXPECT_EQ(output, "There is a NUL in " + program::Quote(line) + "\n");
    ExpectOver();
  }
  EXPECT_EQ(vlan, 10);
}

TEST_F(Dispatcher, ListsItsWords) {
  Execute("help");
  for (const char* usage : {"  route [vrf <vid>|all] ",
                            "  route6 ",
                            "  explain {<address>|<prefix>} ",
                            "  summary ",
                            "  requests ",
                            "  status [json] ",
                            "  version [json] ",
                            "  watch ",
                            "  metrics ",
                            "  retry [<prefix>] ",
                            "  log level <level> ",
                            "  ip [<word> ...] ",
                            "  ip6 [<word> ...] ",
                            "  rtm route|rib ",
                            "  interface [vrf <vid>] ",
                            "  interface6 [vrf <vid>] ",
                            "  show <command> ",
                            "  vrf <vid> ",
                            "  check [strict] [json] ",
                            "  diff [<revision>] ",
                            "  reload [force] [confirm <seconds>] ",
                            "  confirm <revision> [json] ",
                            "  undo [<changes-back>] [json] ",
                            "  history [json] ",
                            "  revision <revision> [json] ",
                            "  verify [stack|kernel] [json] ",
                            "  help ",
                            "  quit "}) {
    EXPECT_THAT(output, HasSubstr(usage));
  }
  ExpectOver();
  const std::string help = output;
  Execute("?");
  EXPECT_EQ(output, help);
}

TEST_F(Dispatcher, TellsWhatMayFollowAWord) {
  EXPECT_EQ(ResultOf("status ?"), Result::DONE);
  EXPECT_EQ(output, "  json" + std::string(32, ' ') + "As one JSON document\n");
  ExpectOver();
}

// What is too long for its column has the description below it, or goes on below itself.
TEST_F(Dispatcher, ListsItsWordsInColumns) {
  Execute("help");
  const std::string column(38, ' ');
  EXPECT_THAT(output, StartsWith("  route [vrf <vid>|all] [<address>|<prefix> [longer]] [proto "
                                 "<protocol>]\n"
                                 "      [via <gateway>] [dev <interface>] "
                                 "[installed|waiting|refused] [summary]\n"
                                 "      [json]\n" +
                                 column + "IPv4 routes, and why one is not installed\n"));
  EXPECT_THAT(output, HasSubstr("\n  rtm route|rib [ipv6] [<option> ...] Installed routes"));
  EXPECT_THAT(output, HasSubstr("\n  explain {<address>|<prefix>} [vrf <vid>] [json]\n" + column +
                                "One prefix: who wants it, what came of it\n"));
}

TEST_F(Dispatcher, ListsTheRegistries) {
  EXPECT_EQ(ResultOf("ip"), Result::DONE);
  EXPECT_EQ(output,
            "  ip bgp                              BGP4 Routing Configuration\n"
            "  ip igmp                             IGMP Routing Configuration\n"
            "  ip ospf                             OSPFv2 Routing Configuration\n"
            "  ip protocol                         Routing Protocol Configuration\n"
            "  ip rip                              RIPv2 Routing Configuration\n");
  ExpectOver();
  Execute("show ip6 ?");
  EXPECT_THAT(output, StartsWith("  ip6 bgp "));
  EXPECT_THAT(output, HasSubstr("OPSFv3 Routing Configuration"));
}

TEST_F(Dispatcher, ListsTheTables) {
  EXPECT_EQ(ResultOf("rtm"), Result::DONE);
  EXPECT_EQ(output,
            "  rtm route [ipv6] [<option> ...]     Installed routes\n"
            "  rtm rib [ipv6] [<option> ...]       All candidates; > marks the installed\n"
            "  options, in this order              vrf <vid>, dest <address>, proto <name>, "
            "detail\n");
}

TEST_F(Dispatcher, SaysWhatIsUnknownAndWhatIsPossible) {
  EXPECT_EQ(ResultOf("foo bar"), Result::USAGE);
  EXPECT_EQ(
      output,
      "\"foo\" is unknown. Possible: route route6 explain summary requests status version watch "
      "metrics interface interface6 ip ip6 rtm show vrf check diff reload confirm undo history "
      "revision verify retry log lab help ? quit exit\n");
  ExpectOver();
  EXPECT_EQ(ResultOf("ip foo"), Result::USAGE);
  EXPECT_EQ(output,
            "\"ip\" is understood, \"foo\" after it is not. Possible: bgp igmp ospf protocol "
            "rip\n");
  ExpectOver();
  EXPECT_EQ(ResultOf("show ip6 foo"), Result::USAGE);
  EXPECT_EQ(output,
            "\"show ip6\" is understood, \"foo\" after it is not. Possible: bgp ospf protocol "
            "rip\n");
  EXPECT_EQ(ResultOf("rtm foo"), Result::USAGE);
  EXPECT_EQ(output, "\"rtm\" is understood, \"foo\" after it is not. Possible: route rib\n");
  EXPECT_EQ(ResultOf("show quit"), Result::USAGE);
  EXPECT_EQ(output,
            "\"show\" is understood, \"quit\" after it is not. Possible: route route6 explain "
            "summary requests status version watch metrics interface interface6 ip ip6 rtm diff "
            "history revision\n");
  ExpectOver();
}

// Each line is understood up to the word in question, and does nothing.
TEST_F(Dispatcher, RefusesWordsThatAreTooMany) {
  const struct {
    const char* before;
    const char* word;
    const char* more;
  } lines[] = {
      {"reload confirm 60 json force", "now", ""},
      {"reload json force confirm 60", "force", ""},
      {"diff 3 json", "4", ""},
      {"confirm 3 json", "4", ""},
      {"undo 3 json", "4", ""},
      {"history json", "3", ""},
      {"revision 3 json", "4", ""},
      {"check json strict", "now", ""},
      {"quit", "now", ""},
      {"exit", "?", ""},
      {"help", "reload", ""},
      {"?", "?", ""},
      {"vrf 20", "30", " 40"},
      {"vrf 10", "y", ""},
      {"interface vrf 20", "x", ""},
      {"show interface6 vrf 20", "vrf", " 10"},
      {"ip help", "protocol", " summary"},
      {"show ip6 ?", "protocol", ""},
      {"rtm help", "rib", ""},
      {"show ?", "ip", ""},
      {"lab help", "tick", " fast"},
      {"lab tick fast", "normal", ""},
  };
  for (const auto& line : lines) {
    const Reply reply = Execute(std::string(line.before) + " " + line.word + line.more);
    const std::string before = line.before;
    if (before.find("json") == std::string::npos) {
      EXPECT_EQ(output, "\"" + before + "\" is understood, \"" + line.word +
                            "\" after it is not. Nothing may follow.\n");
    } else {
      EXPECT_EQ(output, "{\"view\":\"" + before.substr(0, before.find(' ')) +
                            "\",\"passed\":false,\"refused\":\"\\\"" + before +
                            "\\\" is understood, \\\"" + line.word +
                            "\\\" after it is not. Nothing may follow.\"}\n");
    }
    EXPECT_EQ(command->GetResult(), Result::USAGE) << output;
    EXPECT_FALSE(reply.isQuit || reply.hasChanged) << output;
    ExpectOver();
  }
  EXPECT_EQ(vlan, 10);
  EXPECT_EQ(reloads, 0);
  EXPECT_EQ(checks, 0);
}

// Whoever asks for JSON reads one document, also about a line that is not understood.
TEST_F(Dispatcher, AnswersAMisunderstandingInJson) {
  const struct {
    const char* line;
    const char* view;
    const char* why;  // how it begins
  } lines[] = {
      {"nonsense json", "nonsense", "\\\"nonsense\\\" is unknown."},
      {"route vrf json", "route", "\\\"route vrf\\\" is understood, \\\"json\\\" after it is not."},
      {"show rout 10.9.9.300 json", "route", "\\\"show route\\\" is understood"},
      {"route6 vrf all all json", "route", "\\\"route6 vrf all\\\" is understood"},
      {"re json", "re", "\\\"re\\\" is ambiguous: "},
      {"explain json", "explain", "Usage: explain {<address>|<prefix>} [vrf <vid>] [json]"},
      {"show nothing json", "nothing", "\\\"show\\\" is understood"},
      {"show ip route json", "ip", "Here it is "},
      {"rtm rib json", "rtm", "\\\"rtm rib\\\" is understood"},
      {"summary json | count", "summary", "A JSON document is not filtered by lines"},
      {"summary json | c | c", "summary",
       "One filter is possible, and \\\"c\\\" would be a second"},
      {"summary json | grep x", "summary", "Usage: <command> | include <text>\\n"},
  };
  for (const auto& line : lines) {
    Execute(line.line);
    EXPECT_THAT(output, StartsWith(std::string("{\"view\":\"") + line.view +
                                   "\",\"passed\":false,\"refused\":\"" + line.why));
    EXPECT_THAT(output, EndsWith("\"}\n"));
    EXPECT_EQ(output.find('\n'), output.size() - 1) << output;
    EXPECT_EQ(command->GetResult(), Result::USAGE) << line.line;
    ExpectOver();
  }
}

TEST_F(Dispatcher, RefusesASecondFilter) {
  EXPECT_EQ(ResultOf("version | include a | exclude b"), Result::USAGE);
  EXPECT_EQ(output, "One filter is possible, and \"exclude b\" would be a second\n");
  EXPECT_EQ(ResultOf("version | include a |count"), Result::USAGE);
  EXPECT_EQ(output, "One filter is possible, and \"count\" would be a second\n");
  EXPECT_EQ(ResultOf("help |count"), Result::DONE);
  EXPECT_EQ(output, "") << "the number comes at the end";
}

TEST_F(Dispatcher, NamesTheFirstWordThatDoesNotFit) {
  Execute("interface eth0 vrf 10");
  EXPECT_EQ(output, "\"interface\" is understood, \"eth0\" after it is not. Possible: vrf\n");
  Execute("show help 10");
  EXPECT_THAT(output, StartsWith("\"show help\" is understood, \"10\" after it is not. "));
  Execute("show show ip");
  EXPECT_THAT(output, StartsWith("\"show\" is understood, \"show\" after it is not. "));
  Execute("rtm routes vrf");
  EXPECT_EQ(output,
            "\"rtm\" is understood, \"routes\" after it is not. Did you mean \"route\"? "
            "Possible: route rib\n");
}

TEST_F(Dispatcher, ListsWhatMayFollowAWordThatStandsAlone) {
  for (const char* word : {"ip", "ip6", "rtm", "show", "show ip", "show rtm", "lab"}) {
    ASSERT_EQ(ResultOf(word), Result::DONE) << word;
    const std::string list = output;
    EXPECT_NE(list, "");
    for (const char* help : {" help", " ?"}) {
      EXPECT_EQ(ResultOf(std::string(word) + help), Result::DONE) << word;
      EXPECT_EQ(output, list) << word;
    }
  }
  Execute("show");
  EXPECT_EQ(output,
            "After \"show\" comes a command: route route6 explain summary requests status version "
            "watch metrics interface interface6 ip ip6 rtm diff history revision\n");
}

// Whoever answers, the host, a handler of the library or the lab: an escape sequence, a control
// character of eight bits, a byte that is not UTF-8 and a turn of the text's direction are shown.
TEST_F(Dispatcher, RepeatsNoWordAsATerminalWouldObeyIt) {
  const std::string word = "\x1b[2J\xc2\x9b\xff\u202e";
  const std::string shown = "\\x1b[2J\\xc2\\x9b\\xff\\xe2\\x80\\xae";
  for (const char* before : {"",
                             "ip ",
                             "show ",
                             "show ip6 ",
                             "rtm ",
                             "reload ",
                             "reload confirm ",
                             "undo ",
                             "vrf 10 ",
                             "interface ",
                             "lab ",
                             "lab interface eth0 ",
                             "lab stack refuse ",
                             "lab stack refuse route ",
                             "ip protocol database vrf ",
                             "ip protocol database dest ",
                             "ip protocol mcast-database vrf ",
                             "ip6 protocol database vrf ",
                             "ip6 protocol database dest ",
                             "rtm rib vrf ",
                             "rtm route ipv6 dest "}) {
    const bool isLabCount = before == std::string("lab stack refuse route ");
    Execute(before + word + (isLabCount ? " times" : ""));
    ASSERT_TRUE(Settle());
    EXPECT_THAT(output, HasSubstr(shown)) << before;
    EXPECT_THAT(output, Not(HasSubstr("\x1b"))) << before;
    EXPECT_THAT(output, Not(HasSubstr("\xc2"))) << before;
    EXPECT_THAT(output, Not(HasSubstr("\xff"))) << before;
    EXPECT_THAT(output, Not(HasSubstr("\xe2"))) << before;
  }
  for (const std::string& line :
       {"lab interface " + word + " up", "lab join " + word, "lab join eth0 vrf " + word,
        "lab address add eth0 " + word, "ip protocol ips set filter type in " + word}) {
    Execute(line);
    EXPECT_THAT(output, HasSubstr(shown)) << output;
    EXPECT_THAT(output, Not(HasSubstr("\x1b"))) << output;
  }
}

// What the library's trees and what changes something are called is written out.
TEST_F(Dispatcher, TakesAbbreviationsWhereTheyDoNoHarm) {
  for (const char* line :
       {"hel", "sh ip protocol summary", "rt rib", "int", "vr 20", "ch", "verif"}) {
    EXPECT_NE(ResultOf(line), Result::USAGE) << line << ": " << output;
  }
  ASSERT_TRUE(Settle());
  for (const char* line : {"IP", "ip prot", "relo", "reload f", "undo 1 x", "l", "ex", "qui"}) {
    EXPECT_EQ(ResultOf(line), Result::USAGE) << line;
  }
  EXPECT_EQ(ResultOf("re"), Result::USAGE);
  EXPECT_EQ(output, "\"re\" is ambiguous: requests revision\n");
  EXPECT_EQ(ResultOf("show r"), Result::USAGE);
  EXPECT_EQ(output,
            "\"show\" is understood, \"r\" after it is ambiguous: route route6 requests rtm "
            "revision\n");
  EXPECT_EQ(reloads, 0);
}

TEST_F(Dispatcher, Quits) {
  EXPECT_TRUE(Execute("quit").isQuit);
  ExpectOver();
  EXPECT_TRUE(Execute("exit").isQuit);
}

TEST_F(Dispatcher, Reloads) {
  EXPECT_TRUE(Execute("reload").hasChanged);
  EXPECT_EQ(reloads, 1);
  EXPECT_EQ(overs, 0);
  asker.end(true);
  asker = {};
  ExpectOver();
  EXPECT_EQ(output, "");
  EXPECT_EQ(command->GetResult(), Result::DONE);
}

TEST_F(Dispatcher, TellsThatAReloadHasFailed) {
  Execute("reload");
  asker.end(false);
  asker = {};
  ExpectOver();
  EXPECT_EQ(output, "");
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
}

TEST_F(Dispatcher, TellsWhatAReloadFindsWhereTheLogIsNotSeen) {
  Execute("reload");
  EXPECT_FALSE(asker.report);
  seesLog = false;
  Execute("reload");
  ASSERT_TRUE(asker.report);
  asker.report("vlans.json: broken\n");
  asker.report("device.json: broken\n");
  EXPECT_EQ(overs, 0);
  asker.end(true);
  EXPECT_EQ(command->GetResult(), Result::DONE) << "these may be warnings";
  asker.report("Invalid VLAN\n");  // while the folder is applied
  EXPECT_EQ(output, "vlans.json: broken\ndevice.json: broken\nInvalid VLAN\n");
}

TEST_F(Dispatcher, Checks) {
  for (const bool toldStrict : {false, true}) {
    seesLog = toldStrict;  // a check's findings are not in the log
    EXPECT_FALSE(Execute(toldStrict ? "check strict" : "check").hasChanged);
    EXPECT_EQ(isStrict, toldStrict);
    EXPECT_EQ(overs, 0);
    asker.report("vlans.json: broken\n");
    asker.end(false);
    asker = {};
    ExpectOver();
    EXPECT_EQ(output, "vlans.json: broken\n");
    EXPECT_EQ(command->GetResult(), Result::REFUSED);
  }
  EXPECT_EQ(checks, 2);
  EXPECT_EQ(reloads, 0);
}

TEST_F(Dispatcher, Verifies) {
  const std::pair<const char*, rows::Scope> lines[] = {{"verify", rows::Scope::ALL},
                                                       {"verify stack", rows::Scope::STACK},
                                                       {"verify kernel", rows::Scope::KERNEL}};
  for (const auto& [line, scopeOfLine] : lines) {
    for (const std::size_t fails : {0, 1}) {
      EXPECT_FALSE(Execute(line).hasChanged);
      EXPECT_EQ(scope, scopeOfLine) << line;
      EXPECT_EQ(overs, 0);
      rows::Verdict verdict;
      verdict.kind = "routes";
      verdict.rows = 3;
      verdict.fails = fails;
      const std::vector<rows::Verdict> verdicts = {verdict};
      std::exchange(verified, nullptr)(verdicts);
      ExpectOver();
      std::string text;
      for (const std::string& one : rows::DescribeVerdicts(verdicts, mostLines)) {
        text += one + "\n";
      }
      EXPECT_EQ(output, text);
      EXPECT_THAT(output, HasSubstr(fails == 0 ? "PASS" : "FAIL"));
      EXPECT_EQ(command->GetResult(), fails == 0 ? Result::DONE : Result::REFUSED);
    }
  }
  EXPECT_EQ(mostLines, 1000u);
  EXPECT_EQ(verifications, 6);
  EXPECT_EQ(ResultOf("verify folder"), Result::USAGE);
  EXPECT_EQ(output,
            "\"verify\" is understood, \"folder\" after it is not. Possible: stack kernel json\n");
  EXPECT_EQ(verifications, 6);
}

TEST_F(Dispatcher, VerifiesForADocument) {
  const Reply reply = Execute("verify json");
  ASSERT_TRUE(reply.view);
  std::string text;
  EXPECT_EQ(reply.view->Next(text), views::View::Rest::LATER);
  rows::Verdict verdict;
  verdict.kind = "routes";
  verdict.fails = 1;
  std::exchange(verified, nullptr)({verdict});
  EXPECT_EQ(output, "") << "the document tells all of it";
  EXPECT_EQ(overs, 0) << "the end of the document is the command's";
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  EXPECT_EQ(reply.view->Next(text), views::View::Rest::NONE);
  EXPECT_THAT(text, StartsWith("{\"view\":\"verify\""));
}

TEST_F(Dispatcher, VerifiesNothingWhereNothingCanBeCompared) {
  const console::Dispatcher other{
      {[](const apply::Asker&, const apply::ReloadRequest&) {}, [](const apply::Asker&, bool) {}},
      &lab};
  command = std::make_shared<RunningCommand>(
      vlan, console::Operator{"terminal", true}, [this](std::string_view text) { output += text; },
      [this] { ++overs; });
  EXPECT_FALSE(other.Execute("verify", command).hasChanged);
  EXPECT_EQ(output, "This device cannot compare what is wanted with what its stack has\n");
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  ExpectOver();
}

TEST_F(Dispatcher, SaysThatACheckHasPassed) {
  Execute("check");
  asker.report("vlans.json: warning: odd\n");
  asker.end(true);
  EXPECT_EQ(output, "vlans.json: warning: odd\nThe folder has no errors\n");
  EXPECT_EQ(command->GetResult(), Result::DONE);
  Execute("check strict");
  asker.end(true);
  EXPECT_EQ(output, "The folder has no errors and no warnings\n");
  EXPECT_EQ(command->GetResult(), Result::DONE);
}

TEST_F(Dispatcher, ChangesTheSessionsVlan) {
  Execute("vrf 20");
  EXPECT_EQ(vlan, 20);
  EXPECT_EQ(output, "");
  ExpectOver();
  Execute("vrf 30");
  EXPECT_EQ(output, "VLAN 30 is not present\n");
  EXPECT_EQ(ResultOf("vrf"), Result::USAGE);
  EXPECT_EQ(output, "Usage: vrf <vid>\n");
  for (const char* word : {"x", "65546", "-1"}) {
    EXPECT_EQ(ResultOf(std::string("vrf ") + word), Result::USAGE) << word;
    EXPECT_EQ(output, "\"vrf\" is understood, \"" + std::string(word) +
                          "\" after it is not. Expected: the number of a VLAN\n");
  }
  EXPECT_EQ(vlan, 20);
}

// What a handler does with its console, and what is left to do.

TEST_F(Dispatcher, DeletesAConsoleThatAHandlerLeaves) {
  for (const char* line : {"ip protocol", "ip protocol pending-actions", "ip protocol ips status",
                           "ip6 rip", "ip bgp", "ip6 protocol"}) {
    Execute(line);
    ExpectOver();
  }
  EXPECT_THAT(output, StartsWith("Usage: \n"));
}

TEST_F(Dispatcher, NoticesAConsoleThatAHandlerDeleted) {
  Execute("ip protocol summary");
  EXPECT_THAT(output, HasSubstr("    10     No     No    Yes     No\n"));
  ExpectOver();
  Execute("ip6 protocol summary");
  ExpectOver();
  Execute("ip protocol database vrf 77");
  EXPECT_EQ(output, "VLAN 77 is not present\n");
  ExpectOver();
  Execute("ip protocol mcast-database vrf 77");
  EXPECT_EQ(output, "VLAN 77 is not present\nFail to parse mcast-database sub command.\n");
  ExpectOver();
  Execute("ip protocol mcast-database");
  EXPECT_THAT(output, EndsWith("\nEnd of Table\n"));
  ExpectOver();
}

TEST_F(Dispatcher, LeavesAConsoleToTheCommandThatWalks) {
  for (const char* line : {"ip protocol database", "ip6 protocol database vrf 20", "rtm rib",
                           "show rtm route ipv6 vrf 20"}) {
    Execute(line);
    EXPECT_EQ(overs, 0) << line;
    EXPECT_FALSE(ConsoleIsGone()) << line;
    ASSERT_TRUE(Settle());
    EXPECT_EQ(output, "End of table\n") << line;
    ExpectOver();
  }
}

TEST_F(Dispatcher, FindsACommandGoneWhenTheStackAnswersAtOnce) {
  Control().SetSynchronous(true);
  Execute("ip protocol database");
  EXPECT_EQ(output, "End of table\n");
  ExpectOver();
}

TEST_F(Dispatcher, LetsAWalkRunOutWhenItsSessionHasGone) {
  Execute("ip protocol database");
  command->Detach();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(output, "");
  EXPECT_EQ(overs, 0);
  EXPECT_TRUE(ConsoleIsGone());
}

TEST_F(Dispatcher, BindsCommandsToTheSessionsVlan) {
  vlan = 77;
  Execute("ip protocol database");
  EXPECT_EQ(output, "VLAN 77 is not present\n");
  Execute("rtm route ipv6");
  EXPECT_EQ(output, "VLAN 77 is not present\n");
}

TEST_F(Dispatcher, ReportsWordsThatTheRtmCommandsRefuse) {
  EXPECT_EQ(ResultOf("rtm rib proto isis"), Result::USAGE);
  EXPECT_THAT(output, StartsWith("Usage: rtm rib [vrf <vid>] "));
  ExpectOver();
  Execute("rtm");
  EXPECT_THAT(output, StartsWith("  rtm route [ipv6] "));
  ExpectOver();
}

TEST_F(Dispatcher, ShowsTheInterfacesOfAVlan) {
  auto* registry = Tarsel::DcInterfaceMgr::GetInstance();
  const auto ethernet = static_cast<Tarsel::DcInterfaceMgr::IntfType>(6);
  registry->AddInterface(10, 3, "eth0", ethernet, 8, 9000, 1);
  registry->AddInterface(20, 4, "eth1", ethernet, 16, 0, 2);
  Tarsel::Ip4Addr address4;
  ASSERT_TRUE(Tarsel::Parse_IpAddr()(address4, "10.1.0.1"));
  registry->AddIpAddress(10, 3, address4, Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[16]));
  Tarsel::Ip6Addr address6;
  ASSERT_TRUE(address6.FromString("2001:db8::1"));
  registry->AddIpAddress(10, 3, address6, 64);
  ASSERT_TRUE(Settle());

  const std::string head =
      "\nFlags:\nB-Broadcast M-Multicast L-Loopback\nT-MPLS Tunnel P-Point2Point U-Unnumbered\n"
      "VLAN    IfIndex     IfName Status    MTU  Flags IPAddress\n";
  const struct {
    const char* line;
    const char* rows;
  } commands[] = {
      {"interface", "  10          3       eth0     UP   9000      B 10.1.0.1/16\n"},
      {"interface6", "  10          3       eth0     UP   9000      B 2001:db8::1/64\n"},
      {"show interface vrf 20", "  20          4       eth1   DOWN   1500      M \n"},
  };
  for (const auto& shown : commands) {
    EXPECT_EQ(ResultOf(shown.line), Result::DONE);
    EXPECT_EQ(overs, 0) << shown.line;
    ASSERT_TRUE(Settle());
    EXPECT_EQ(output, head + shown.rows + "End of Table\n") << shown.line;
    ExpectOver();
  }
}

TEST_F(Dispatcher, RefusesOtherVlansAfterInterface) {
  EXPECT_EQ(ResultOf("interface6 vrf"), Result::USAGE);
  EXPECT_EQ(output, "Usage: interface6 [vrf <vid>]\n");
  ExpectOver();
  EXPECT_EQ(ResultOf("interface6 vrf 65546"), Result::USAGE);
  EXPECT_THAT(output, EndsWith("\"65546\" after it is not. Expected: the number of a VLAN\n"));
  ExpectOver();
  Execute("interface vrf 30");
  EXPECT_EQ(output, "VLAN 30 is not present\n");
  ExpectOver();
}

TEST_F(Dispatcher, HandsLabCommandsOn) {
  state.Apply(test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [
                {"name": "eth0", "vlan": 10, "index": 3},
                {"name": "eth1", "vlan": 20, "index": 4}]})"),
              {10, 20});
  EXPECT_TRUE(Execute("lab interface eth0 down").hasChanged);
  EXPECT_EQ(output, "");
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));
  ExpectOver();
  vlan = 20;
  Execute("lab interface eth1 down");
  EXPECT_FALSE(state.IsInterfaceUp(20, 4));
  EXPECT_FALSE(Execute("lab interface eth0 down").hasChanged);
  EXPECT_EQ(output, "VLAN 20 has no interface \"eth0\"\n");
  Execute("lab");
  EXPECT_EQ(output, console::Lab::Help());
  Execute("lab ?");
  EXPECT_EQ(output, console::Lab::Help());
  ExpectOver();
}

// A dispatcher for views has the same words but for those that change something.
TEST_F(Dispatcher, HasNoWordsForViewsThatChangeSomething) {
  const auto never = [](auto&&...) { ADD_FAILURE() << "it was carried out"; };
  const console::Dispatcher viewer{{never, [](const apply::Asker&, bool) {}, {}, {}, never, never},
                                   &lab,
                                   {nullptr, [](unsigned int, const std::string&) { return true; }},
                                   console::Scope::VIEWS};
  const auto say = [&](const std::string& line) {
    output.clear();
    command = std::make_shared<RunningCommand>(
        vlan, console::Operator{"alice at the view socket", false},
        [this](std::string_view text) { output += text; }, [] {});
    const Reply reply = viewer.Execute(line, command);
    EXPECT_FALSE(reply.hasChanged || reply.isReload || reply.hold != 0) << line;
    return command->GetResult();
  };
  for (const char* line :
       {"reload", "reload ?", "reload | count", "reload nonsense", "confirm 1", "undo", "retry",
        "log level 1", "log", "lab", "lab help", "lab stack hold", "lab nonsense",
        "ip protocol ips on", "show ip protocol ips OFF", "ip protocol IPS set filter type in x"}) {
    EXPECT_EQ(say(line), Result::REFUSED) << line;
    EXPECT_THAT(output, EndsWith(" changes something, and this socket is for views only\n"));
    EXPECT_TRUE(command->IsOver());
  }
  EXPECT_FALSE(Manager().GetIPSTracing());
  EXPECT_FALSE(lab.IsHolding());
  EXPECT_EQ(say("reload json"), Result::REFUSED);
  EXPECT_THAT(output,
              StartsWith("{\"view\":\"reload\",\"passed\":false,\"refused\":\"\\\"reload\\\""));
  for (const char* line : {"vrf 20", "ip", "ip help", "ip protocol ips status", "show ip ?", "help",
                           "interface6", "ip protocol summary", "rtm"}) {
    EXPECT_EQ(say(line), Result::DONE) << line;
  }
  for (const char* line : {"re", "nonsense", "show reload", "ip nonsense", "ip protocol ips"}) {
    EXPECT_EQ(say(line), Result::USAGE) << line;
  }
  EXPECT_THAT(viewer.Complete("re", 10), ElementsAre("requests", "revision"));
  EXPECT_THAT(viewer.Complete("ip protocol ips ", 10), ElementsAre("status"));
  EXPECT_THAT(viewer.Complete("lab ", 10), IsEmpty());
  EXPECT_EQ(viewer.HelpAt("reload "), "");
  EXPECT_THAT(viewer.HelpAt(""), Not(HasSubstr("  undo")));
  EXPECT_FALSE(traces.Contains("alice at the view socket"));
  ASSERT_TRUE(Settle());
}

TEST_F(Dispatcher, LogsTheLibrarysWordsThatChangeSomething) {
  for (const char* line : {"ip protocol ips", "ip protocol ips status", "ip protocol summary",
                           "ip protocol ips set nothing", "ip help", "rtm rib", "interface vrf 10",
                           "show interface6 vrf 20", "vrf 10"}) {
    Execute(line);
  }
  EXPECT_FALSE(traces.Contains("terminal: "));
  EXPECT_EQ(ResultOf("ip protocol ips on"), Result::DONE);
  EXPECT_TRUE(traces.Contains("terminal: ip protocol ips on\n"));
  EXPECT_TRUE(Manager().GetIPSTracing());
  EXPECT_EQ(ResultOf("show ip protocol ips off"), Result::DONE);
  EXPECT_TRUE(traces.Contains("terminal: ip protocol ips off\n"));
  ASSERT_TRUE(Settle());
}

TEST_F(Dispatcher, HasNoLabWordsWithoutALab) {
  const console::Dispatcher bare{
      {[](const apply::Asker&, const apply::ReloadRequest&) {}, [](const apply::Asker&, bool) {}},
      nullptr};
  for (const char* line : {"lab", "lab ?", "lab stack hold", "lab nonsense | count"}) {
    output.clear();
    command = std::make_shared<RunningCommand>(
        vlan, console::Operator{"terminal", true},
        [this](std::string_view text) { output += text; }, [] {});
    bare.Execute(line, command);
    EXPECT_EQ(output, "\"lab\" is unknown: the daemon was started without --lab\n");
    EXPECT_EQ(command->GetResult(), Result::USAGE);
    EXPECT_TRUE(command->IsOver());
  }
  EXPECT_THAT(bare.Complete("l", 10), ElementsAre("log"));
  EXPECT_THAT(bare.HelpAt(""), Not(HasSubstr("  lab")));
  bare.EndHold(1, false);
}

TEST_F(Dispatcher, KeepsLabCommandsApart) {
  EXPECT_EQ(ResultOf("lab foo"), Result::USAGE);
  EXPECT_EQ(output,
            "\"lab\" is understood, \"foo\" after it is not. Possible: interface address join "
            "leave stack tick\n");
  ExpectOver();
  EXPECT_EQ(ResultOf("lab stack hold on"), Result::USAGE);
  EXPECT_EQ(output,
            "\"lab stack hold\" is understood, \"on\" after it is not. Nothing may follow.\n");
  EXPECT_EQ(ResultOf("show lab tick fast"), Result::USAGE);
  EXPECT_THAT(dispatcher.Complete("lab stack re", 10),
              ElementsAre("refuse", "retry", "release", "restart"));
  EXPECT_THAT(dispatcher.Complete("show lab ", 10), IsEmpty());
}

TEST_F(Dispatcher, CompletesWords) {
  EXPECT_THAT(dispatcher.Complete("r", 10),
              ElementsAre("route", "route6", "requests", "rtm", "reload", "revision", "retry"));
  EXPECT_THAT(dispatcher.Complete("show i", 10),
              ElementsAre("interface", "interface6", "ip", "ip6"));
  EXPECT_THAT(dispatcher.Complete("interface6 v", 10), ElementsAre("vrf"));
  EXPECT_THAT(dispatcher.Complete("ch", 10), ElementsAre("check"));
  EXPECT_THAT(dispatcher.Complete("check ", 10), ElementsAre("strict", "json"));
  EXPECT_THAT(dispatcher.Complete("ip p", 10), ElementsAre("protocol"));
  EXPECT_THAT(dispatcher.Complete("show ip protocol s", 10), ElementsAre("summary"));
  EXPECT_THAT(dispatcher.Complete("rtm ", 10), ElementsAre("route", "rib"));
  EXPECT_THAT(dispatcher.Complete("rtm rib ", 10),
              ElementsAre("ipv6", "vrf", "dest", "proto", "detail"));
  EXPECT_THAT(dispatcher.Complete("show rtm route ipv6 d", 10), ElementsAre("dest", "detail"));
  for (const char* whole :
       {"reload confirm 60 json force", "check strict json", "history json", "diff 1 json", "quit",
        "?", "interface vrf 10", "vrf 10", "rtm rib vrf"}) {
    EXPECT_THAT(dispatcher.Complete(std::string(whole) + " ", 10), IsEmpty()) << whole;
  }
  EXPECT_THAT(dispatcher.Complete("nothing known ", 10), IsEmpty());
}

TEST_F(Dispatcher, TellsWhatItRefusesFromWhatNobodyUnderstands) {
  for (const char* line :
       {"vrf 30", "interface vrf 30", "lab interface eth7 down", "ip protocol database vrf 77",
        "ip6 protocol database vrf 77", "ip protocol mcast-database vrf 77", "ip bgp vrf 77",
        "rtm rib vrf 77", "show rtm route ipv6 vrf 77"}) {
    EXPECT_EQ(ResultOf(line), Result::REFUSED) << line;
  }
  for (const char* line :
       {"vrf", "vrf x", "foo", "ip foo", "interface vrf", "lab stack", "lab foo", "ip protocol ips",
        "ip bgp vrf", "ip protocol database proto isis", "ip6 protocol",
        "ip protocol database vrf ten", "ip6 protocol database dest x",
        "ip protocol mcast-database group 10.1.1.1", "ip protocol mcast-database x"}) {
    EXPECT_EQ(ResultOf(line), Result::USAGE) << line;
  }
  for (const char* line : {"", "vrf 20", "help", "lab", "lab tick normal", "ip protocol summary",
                           "ip protocol pending-actions"}) {
    EXPECT_EQ(ResultOf(line), Result::DONE) << line;
  }
}

}  // namespace
