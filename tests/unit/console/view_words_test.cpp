// From a line to the question that it asks.
#include "device/console/view_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "device/console/dispatcher.h"
#include "device/console/foreign_words.h"
#include "tests/support/device_fixture.h"
#include "tests/support/questions_double.h"

namespace {

using console::Reply;
using console::Result;
using console::RunningCommand;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ViewWords : public test_support::DeviceFixture {
 protected:
  ViewWords() { Start(10); }

  Reply Execute(const std::string& line) { return Execute(dispatcher, line); }
  Reply Execute(const console::Dispatcher& by, const std::string& line) {
    output.clear();
    questions.calls.clear();
    traces.Take();
    command = std::make_shared<RunningCommand>(
        vlan, console::Operator{"alice", true}, [this](std::string_view text) { output += text; },
        [] {});
    return by.Execute(line, command);
  }

  unsigned short vlan = 10;
  test_support::QuestionsDouble questions;
  std::vector<std::string> levels;
  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::FolderCommands folder{[](const apply::Asker&, const apply::ReloadRequest&) {},
                                 [](const apply::Asker&, bool) {}};
  console::Dispatcher dispatcher{
      folder, &lab, {&questions, [this](unsigned int level, const std::string& component) {
                       levels.push_back(std::to_string(level) + " " + component);
                       return level < 9;
                     }}};
  std::shared_ptr<RunningCommand> command;
  std::string output;
};

TEST_F(ViewWords, AskQuestions) {
  const struct {
    const char* line;
    const char* call;
  } lines[] = {
      {"route", "route vlan 10"},
      {"show route", "route vlan 10"},
      {"ro", "route vlan 10"},
      {"route6 json", "route6 vlan 10 json"},
      {"route vrf 20", "route vlan 20"},
      {"route vrf all", "route all"},
      {"route 10.9.1.1", "route vlan 10 address 10.9.1.1"},
      {"route 10.9.0.0/16", "route vlan 10 prefix 10.9.0.0/16"},
      {"route 0.0.0.0/0 longer", "route vlan 10 prefix 0.0.0.0/0 longer"},
      {"route json longer", nullptr},
      {"route proto connected", "route vlan 10 proto 0"},
      {"route proto static", "route vlan 10 proto 1"},
      {"route proto rip", "route vlan 10 proto 2"},
      {"route proto ospf", "route vlan 10 proto 3"},
      {"route proto bgp", "route vlan 10 proto 4"},
      {"route via 10.1.0.254 dev eth0 installed",
       "route vlan 10 via 10.1.0.254 dev eth0 installed"},
      {"route waiting", "route vlan 10 waiting"},
      {"route refused summary", "route vlan 10 refused summary"},
      {"route json sum ref dev eth0 via 10.1.0.254 pro stat 10.9.0.0/16 lon vr 20",
       "route vlan 20 prefix 10.9.0.0/16 longer proto 1 via 10.1.0.254 dev eth0 refused summary "
       "json"},
      {"route6 2001:db8::1 via fe80::1", "route6 vlan 10 address 2001:db8::1 via fe80::1"},
      {"explain 10.9.0.1", "explain vlan 10 address 10.9.0.1"},
      {"explain 2001:db8::/32 vrf 20 json", "explain vlan 20 prefix 2001:db8::/32 json"},
      {"explain vrf 20 2001:db8::/32 json", "explain vlan 20 prefix 2001:db8::/32 json"},
      {"exp js vr 20 10.9.0.1", "explain vlan 20 address 10.9.0.1 json"},
      {"summary", "summary vlan 10"},
      {"summary vrf all json", "summary all json"},
      {"req", "requests vlan 10"},
      {"requests vrf 20", "requests vlan 20"},
      {"status", "status"},
      {"show status json", "status json"},
      {"version", "version"},
      {"metrics", "metrics"},
      {"watch", "watch vlan 10"},
      {"watch vrf all", "watch all"},
      {"watch route", "watch vlan 10 route"},
      {"watch request vrf 20", "watch vlan 20 request"},
      {"watch json interface", "watch vlan 10 interface json"},
      {"watch reload", "watch vlan 10 reload"},
  };
  for (const auto& one : lines) {
    const Reply reply = Execute(one.line);
    if (one.call == nullptr) {
      EXPECT_THAT(questions.calls, IsEmpty()) << one.line;
      continue;
    }
    EXPECT_THAT(questions.calls, ElementsAre(one.call)) << one.line << output;
    EXPECT_TRUE(reply.view) << one.line;
    EXPECT_EQ(reply.isLive, questions.calls[0].substr(0, 5) == "watch") << one.line;
    EXPECT_FALSE(command->IsOver()) << one.line << ": the view ends it";
    EXPECT_FALSE(reply.hasChanged) << one.line;
  }
}

TEST_F(ViewWords, RefuseWhatDoesNotFit) {
  const struct {
    const char* line;
    const char* says;
  } lines[] = {
      {"route 10.9.1.1/16",
       "\"route\" is understood, \"10.9.1.1/16\" after it is not. Did you mean "
       "\"10.9.0.0/16\"? Possible: vrf proto via dev installed waiting refused summary json, or an "
       "address, or a prefix without host bits, for "
       "example 10.0.0.0/8\n"},
      {"route vrf x",
       "\"route vrf\" is understood, \"x\" after it is not. Possible: all, or the number of a "
       "VLAN\n"},
      {"route proto isis",
       "\"route proto\" is understood, \"isis\" after it is not. Possible: connected static rip "
       "ospf bgp\n"},
      {"route via", "Usage: route [vrf <vid>|all] "},
      {"route 2001:db8::1",
       "\"route\" is understood, \"2001:db8::1\" after it is not. Expected: IPv4; \"route6\" is "
       "for IPv6\n"},
      {"show route6 via 10.1.0.1",
       "\"show route6 via\" is understood, \"10.1.0.1\" after it is not. Expected: IPv6; \"route\" "
       "is for IPv4\n"},
      {"explain", "Usage: explain {<address>|<prefix>} [vrf <vid>] [json]\n"},
      {"explain vrf 20 json",
       R"("refused":"Usage: explain {<address>|<prefix>} [vrf <vid>] [json]")"},
      {"explain 10.9.3.0/16",
       "\"10.9.3.0/16\" after it is not. Did you mean \"10.9.0.0/16\"? Possible: vrf json, or an "},
      {"retry 2001:db8::1/32", "Did you mean \"2001:db8::/32\"? Expected: a prefix without host "},
      {"explain 10.9.3.0/33", "\"10.9.3.0/33\" after it is not. Possible: vrf json, or an "},
      {"rout 10.9.0.1 longer", "\"route 10.9.0.1\" is understood, \"longer\" after it is not. "},
      {"retry 10.9.0.1", "\"retry\" is understood, \"10.9.0.1\" after it is not. Expected: a "},
      {"retry 10.9.0.0/16 x", "\"x\" after it is not. Nothing may follow.\n"},
      {"log level 11", "\"log level\" is understood, \"11\" after it is not. Expected: a level, "},
      {"log level 3 daemon", "\"daemon\" after it is not. Possible: library stack host\n"},
      {"metrics json",
       R"("refused":"\"metrics\" is understood, \"json\" after it is not. Nothing may follow."})"},
  };
  for (const auto& one : lines) {
    const Reply reply = Execute(one.line);
    EXPECT_THAT(output, HasSubstr(one.says)) << one.line;
    EXPECT_EQ(command->GetResult(), Result::USAGE) << one.line;
    EXPECT_THAT(questions.calls, IsEmpty()) << one.line;
    EXPECT_FALSE(reply.view) << one.line;
    EXPECT_TRUE(command->IsOver()) << one.line;
  }
  EXPECT_THAT(levels, IsEmpty());
}

TEST_F(ViewWords, AskAgain) {
  EXPECT_FALSE(Execute("retry").hasChanged);
  EXPECT_EQ(output, "0 rows\n");
  EXPECT_THAT(questions.calls, ElementsAre("retry"));
  questions.retried = 3;
  EXPECT_TRUE(Execute("retry 10.9.0.0/16").hasChanged);
  EXPECT_THAT(questions.calls, ElementsAre("retry 10.9.0.0/16"));
  EXPECT_TRUE(traces.Contains("alice: retry 10.9.0.0/16\n"));
  EXPECT_TRUE(command->IsOver());
}

TEST_F(ViewWords, SetTheLevelOfTheLog) {
  Execute("log level 5");
  EXPECT_TRUE(traces.Contains("alice: log level 5\n"));
  Execute("log level 0 stack");
  EXPECT_THAT(levels, ElementsAre("5 ", "0 stack"));
  EXPECT_EQ(command->GetResult(), Result::DONE);
  Execute("log level 9");
  EXPECT_EQ(command->GetResult(), Result::REFUSED);
  EXPECT_EQ(output, "This device has no such log level\n");
  EXPECT_FALSE(traces.Contains("alice: log level 9\n"));
}

TEST_F(ViewWords, AreRefusedWhereNobodyAnswers) {
  const console::Dispatcher bare(folder, &lab);
  for (const char* line : {"route", "explain 10.0.0.1", "status", "retry", "watch"}) {
    EXPECT_FALSE(Execute(bare, line).view) << line;
    EXPECT_EQ(output, "This device cannot answer that\n") << line;
    EXPECT_EQ(command->GetResult(), Result::REFUSED) << line;
    EXPECT_TRUE(command->IsOver()) << line;
  }
  const Reply reply = Execute(bare, "status json");
  std::string json;
  ASSERT_TRUE(reply.view);
  reply.view->Next(json);
  EXPECT_THAT(json, HasSubstr("This device cannot answer that"));
  EXPECT_TRUE(reply.view->IsRefused());
  Execute(bare, "log level 3");
  EXPECT_EQ(output, "This device has no such log level\n");
  EXPECT_THAT(bare.Complete("route vrf ", 10), ElementsAre("all"));
}

TEST_F(ViewWords, AreCompletedWithValues) {
  const auto complete = [this](const std::string& line) { return dispatcher.Complete(line, 10); };
  EXPECT_THAT(complete("route vrf "), ElementsAre("10", "20", "all"));
  EXPECT_THAT(complete("vrf 2"), ElementsAre("20"));
  EXPECT_THAT(complete("interface vrf "), ElementsAre("10", "20"));
  EXPECT_THAT(complete("ro dev e"), ElementsAre("eth0", "eth1"));
  EXPECT_THAT(complete("route vrf 20 dev "), ElementsAre("eth2"));
  EXPECT_THAT(complete("route 10.9"), ElementsAre("10.9.0.0/16"));
  EXPECT_THAT(complete("route6 2"), ElementsAre("2001:db8::/32"));
  EXPECT_THAT(complete("explain "),
              ElementsAre("10.9.0.0/16", "10.40.0.0/13", "2001:db8::/32", "vrf", "json"));
  EXPECT_THAT(complete("route proto "), ElementsAre("connected", "static", "rip", "ospf", "bgp"));
  EXPECT_THAT(
      complete("route 10.9.0.0/16 json summary "),
      ElementsAre("vrf", "longer", "proto", "via", "dev", "installed", "waiting", "refused"));
  EXPECT_THAT(complete("log level 3 "), ElementsAre("library", "stack", "host"));
  EXPECT_THAT(complete("rtm rib vrf "), ElementsAre("10", "20"));
  EXPECT_THAT(complete("ip protocol database DET"), IsEmpty());
  EXPECT_THAT(complete("ip protocol da vr 10 pro "),
              ElementsAre("connected", "static", "rip", "ospf", "bgp"));
  EXPECT_THAT(complete("ip bgp "), ElementsAre("vrf"));
  EXPECT_THAT(complete("lab interface "), ElementsAre("eth0", "eth1", "lo10"));
  EXPECT_THAT(complete("route | "), ElementsAre("include", "exclude", "count"));
  EXPECT_THAT(complete("route |"), ElementsAre("| include", "| exclude", "| count"));
  EXPECT_THAT(complete("route | i"), ElementsAre("include"));
  EXPECT_THAT(complete("route | include "), IsEmpty());
  EXPECT_THAT(complete("route | include |"), IsEmpty());
  EXPECT_THAT(complete("nothing known "), IsEmpty());
}

TEST_F(ViewWords, AreExplainedInMidLine) {
  EXPECT_THAT(dispatcher.HelpAt(""), StartsWith("  route  "));
  EXPECT_THAT(dispatcher.HelpAt("wat"), StartsWith("  watch  "));
  EXPECT_THAT(dispatcher.HelpAt("wat"), Not(HasSubstr("route")));
  EXPECT_EQ(dispatcher.HelpAt("route vrf "),
            "  <vid>                               A VLAN\n"
            "  all                                 Of all VLANs\n");
  EXPECT_THAT(dispatcher.HelpAt("show route 10.9.0.0/16 "),
              HasSubstr("  longer                              And the prefixes within it\n"));
  EXPECT_THAT(dispatcher.HelpAt("ip "), HasSubstr("  protocol"));
  EXPECT_THAT(dispatcher.HelpAt("lab tick "), HasSubstr("  fast"));
  EXPECT_THAT(dispatcher.HelpAt("status | "), StartsWith("  include <text> "));
  EXPECT_EQ(dispatcher.HelpAt("status |"), dispatcher.HelpAt("status | "));
  std::istringstream rows(dispatcher.HelpAt(""));
  for (std::string row; std::getline(rows, row);) {
    EXPECT_GT(row.size(), 38u) << row << " says nothing";
  }
  EXPECT_EQ(dispatcher.HelpAt("nothing known "), "");
  Execute("route vrf ?");
  EXPECT_EQ(output, dispatcher.HelpAt("route vrf "));
  EXPECT_EQ(command->GetResult(), Result::DONE);
  Execute("metrics ?");
  EXPECT_THAT(output, EndsWith("\"?\" after it is not. Nothing may follow.\n"));
}

TEST_F(ViewWords, AreNotFilteredAsJson) {
  Execute("route json | count");
  EXPECT_EQ(
      output,
      R"({"view":"route","passed":false,"refused":"A JSON document is not filtered by lines"})"
      "\n");
  EXPECT_EQ(command->GetResult(), Result::USAGE);
  EXPECT_THAT(questions.calls, IsEmpty());
}

TEST_F(ViewWords, AreFilteredByLines) {
  const char* const usage =
      "Usage: <command> | include <text>\n       <command> | exclude <text>\n"
      "       <command> | count\n";
  for (const char* line : {"route |", "route | grep x", "route | include", "route | count x",
                           "| count", "route | exclude  "}) {
    EXPECT_FALSE(Execute(line).view) << line;
    EXPECT_EQ(output, usage) << line;
    EXPECT_EQ(command->GetResult(), Result::USAGE) << line;
  }
  Execute("ip protocol summary | exclude VID");
  command->FinishOutput();
  EXPECT_EQ(output, "");
  Execute("ip | inc rip  ");
  command->FinishOutput();
  EXPECT_EQ(output, "  ip rip                              RIPv2 Routing Configuration\n");
  Execute("ip protocol database vrf 99 | count");
  command->FinishOutput();
  EXPECT_EQ(output, "1 line\n");
  EXPECT_EQ(command->GetResult(), Result::REFUSED) << "as without the filter";
}

// With a value in each place, and in each word that stands for one.
std::string Example(std::string line, bool ip6) {
  const std::pair<const char*, const char*> values[] = {
      {"<address>", ip6 ? "2001:db8::1" : "10.9.3.4"},
      {"<address/length>", ip6 ? "2001:db8::/32" : "10.9.3.4/16"},
      {"<prefix>", ip6 ? "2001:db8::/32" : "10.0.0.0/8"},
      {"<protocol>", "static"},
      {"<vid>", "20"},
      {"<seconds>", "60"},
      {"<word>", "null0"},
      {"ADDRESS", "10.9.3.4"},
      {"PREFIX", "10.0.0.0/8"},
      {"NAME", "static"},
      {"VID", "20"},
      {"REVISION", "1"},
      {"SECONDS", "60"},
      {" N", " 1"}};
  for (const auto& [place, value] : values) {
    const std::size_t at = line.find(place);
    line = at == std::string::npos ? line : line.replace(at, std::strlen(place), value);
  }
  return line;
}

// What an answer says, which is the text of a refusal if JSON was asked for.
std::string TextOf(std::string answer) {
  const std::string head = "\"refused\":\"";
  const std::string end = answer[0] == '{' ? "\"}\n" : "\n";
  const std::size_t begin = answer[0] == '{' ? answer.find(head) + head.size() : 0;
  EXPECT_THAT(answer, EndsWith(end));
  answer = answer.substr(begin, answer.size() - end.size() - begin);
  answer.erase(std::remove(answer.begin(), answer.end(), '\\'), answer.end());
  return answer;
}

// Each line is answered, and what the answer quotes is understood here.
TEST_F(ViewWords, AreNamedToHandsThatTypeOthers) {
  for (const console::ForeignWords& one : console::GetForeignWords()) {
    const bool ip6 = one.words.find('6') != std::string::npos;
    const std::string line = Example(one.words, ip6);
    Execute(line);
    const std::string answer = TextOf(output);
    EXPECT_EQ(Example(answer, ip6), Example(one.answer, ip6)) << line;
    EXPECT_THAT(answer, testing::Not(HasSubstr("<"))) << line;
    EXPECT_EQ(command->GetResult(), Result::USAGE) << line;
    EXPECT_TRUE(command->IsOver()) << line;
    EXPECT_THAT(questions.calls, IsEmpty()) << line;
    std::istringstream pieces(answer);
    std::string here;
    while (std::getline(pieces, here, '"') && std::getline(pieces, here, '"')) {
      const bool isOfTheShell = here == "vantacorectl --no-pager";
      Execute(isOfTheShell ? "help" : Example(here, ip6));
      EXPECT_THAT(output, testing::Not(HasSubstr("after it is not"))) << here;
      EXPECT_THAT(output, testing::Not(HasSubstr("unknown"))) << here;
      EXPECT_THAT(output, testing::Not(HasSubstr("Usage"))) << here;
      ASSERT_TRUE(Settle());
    }
  }
  Execute("show ip ro 10.0.0.1");
  EXPECT_EQ(output, "Here it is \"route 10.0.0.1\"\n");
  Execute("show ip route | include eth0");
  EXPECT_EQ(output, "Here it is \"route\"\n") << "filters are for what a command prints";
}

}  // namespace
