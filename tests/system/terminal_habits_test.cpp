// What an operator's hands and eyes expect of a terminal, with the example network: of the client,
// and of the daemon's own terminal.
#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "example_network.h"
#include "prompt_fixture.h"
#include "shown.h"
#include "signs.h"

namespace {

using system_test::CONTROL_C;
using system_test::DaemonProcess;
using system_test::Prompt;
using system_test::PROMPT;
using system_test::Shown;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t WIDTH = 80;

class Habits : public Prompt {
 protected:
  Habits() { system_test::ExampleNetwork::WriteTo(folder); }
  void SetUp() override {
    Prompt::SetUp();
    system_test::Await("a device that has settled", [this] {
      return Run({"requests", "vrf", "all"}).output == "Nothing waits\n";
    });
  }

  // The line as it stands after these keys, which is dropped then.
  std::string Complete(const std::string& keys) const {
    terminal->Send(keys + "\t#");
    const std::string line = Shown(terminal->ReadUntil("#"));
    Type(CONTROL_C);
    return line.substr(0, line.size() - 1);
  }
  // The words that are offered after these keys. The line is dropped.
  std::vector<std::string> List(const std::string& keys) const {
    terminal->Send(keys + "\t");
    std::istringstream shown(Shown(terminal->ReadUntil(PROMPT)));
    std::string line;
    std::getline(shown, line);  // what was typed
    std::vector<std::string> words;
    for (std::string word; shown >> word;) {
      words.push_back(word);
    }
    words.pop_back();  // the prompt
    Type(CONTROL_C);
    return words;
  }
  // The lines between what was typed and the next prompt.
  std::vector<std::string> Ask(const std::string& line) const {
    std::istringstream shown(Type(line + "\n"));
    std::vector<std::string> lines;
    for (std::string one; std::getline(shown, one);) {
      lines.push_back(one);
    }
    return lines.size() < 2 ? std::vector<std::string>()
                            : std::vector<std::string>(lines.begin() + 1, lines.end() - 1);
  }
  // What the commands print that are wider than the terminal, of a device with these documents.
  std::string FindWide(const std::vector<std::string>& commands) const {
    std::string wide;
    for (const std::string& command : commands) {
      const std::vector<std::string> lines = Ask(command);
      EXPECT_FALSE(lines.empty()) << command;
      for (const std::string& line : lines) {
        EXPECT_THAT(line, Not(HasSubstr("is understood"))) << command;
        wide += line.size() > WIDTH ? command + ": " + line + "\n" : "";
      }
    }
    return wide;
  }
};

INSTANTIATE_TEST_SUITE_P(OfBoth, Habits, testing::ValuesIn(system_test::BOTH),
                         system_test::NameOfOne);

TEST_P(Habits, TabCompletesValues) {
  const struct {
    const char* keys;
    const char* line;
  } cases[] = {
      {"route vrf 2", "route vrf 20 "},
      {"sh ro vrf all summ", "sh ro vrf all summary "},
      {"route proto st", "route proto static "},
      {"route inst", "route installed "},
      {"route 10.0.0.0/8 lo", "route 10.0.0.0/8 longer "},
      {"route 10.4", "route 10.40.0.0/13 "},
      {"route6 2001:db8:4", "route6 2001:db8:40::/44 "},
      {"explain 10.50", "explain 10.50.0.0/16 "},
      {"explain 2001:db8:5", "explain 2001:db8:50::/48 "},
      {"retry 10.9", "retry 10.9.0.0/16 "},
      {"route dev lo", "route dev lo10 "},
      {"route dev eth2", "route dev eth2"},  // which is of another VLAN
      {"watch int", "watch interface "},
      {"interface vrf 3", "interface vrf 30 "},
      {"log level 5 li", "log level 5 library "},
      {"lab interface lo", "lab interface lo10 "},
      {"lab interface eth1 d", "lab interface eth1 down "},
      {"route vrf 20 | c", "route vrf 20 | count "},
      {"vrf 9", "vrf 9"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(Complete(one.keys), one.line);
  }
  Leave(*terminal);
}

TEST_P(Habits, TabListsValues) {
  using testing::ElementsAre;
  EXPECT_THAT(List("route dev "), ElementsAre("eth0", "eth1", "lo10"));
  EXPECT_THAT(List("route vrf 20 dev eth"), ElementsAre("eth2", "eth3"));
  EXPECT_THAT(List("summary vrf "), ElementsAre("10", "20", "30", "all"));
  EXPECT_THAT(List("route proto "), ElementsAre("bgp", "connected", "ospf", "rip", "static"));
  EXPECT_THAT(List("explain 10.5"), ElementsAre("10.50.0.0/16", "10.51.0.0/16"));
  EXPECT_THAT(List("route | "), ElementsAre("count", "exclude", "include"));
  Leave(*terminal);
}

TEST_P(Habits, AQuestionMarkHelpsInMidLine) {
  const std::string shown = Type("route vrf 20 proto static ?");
  EXPECT_THAT(shown, AllOf(StartsWith("route vrf 20 proto static ?\n  <address> "),
                           HasSubstr("\n  dev  "), HasSubstr("\n  installed  "),
                           Not(HasSubstr("\n  proto ")), Not(HasSubstr("\n  vrf "))))
      << "what the line has already is not offered again";
  terminal->ReadUntil("static ");
  EXPECT_THAT(Type("dev eth3\n"), HasSubstr("\n  172.24.0.0/15 ")) << "the line has stayed";
  EXPECT_THAT(Type("route | ?"), HasSubstr("\n  include <text> "));
  terminal->ReadUntil("| ");
  EXPECT_THAT(Type("count\n"), HasSubstr(" lines\n"));
  Leave(*terminal);
}

TEST_P(Habits, QuestionsMayBeAbbreviated) {
  EXPECT_THAT(Type("sh ro vrf 10\n"), HasSubstr("\n> 10.40.0.0/13 "));
  EXPECT_THAT(Type("ex 10.40.0.0/13\n"), HasSubstr("\nWanted "));
  EXPECT_THAT(Type("sum v 20\n"), HasSubstr("\nVLAN 20 "));
  EXPECT_THAT(Type("s\n"), HasSubstr("\n\"s\" is ambiguous: summary status show\n"));
  Leave(*terminal);
}

TEST_P(Habits, WordsThatChangeSomethingAreWrittenOut) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})");
  for (const char* line : {"rel", "reloa force", "und", "confir 1", "ret", "retr 10.9.0.0/16",
                           "la interface eth0 down", "qui", "exi"}) {
    const std::string word = std::string(line).substr(0, std::string(line).find(' '));
    EXPECT_THAT(Ask(line),
                testing::ElementsAre(testing::AnyOf(StartsWith("\"" + word + "\" is unknown. "),
                                                    StartsWith("Here it is "),
                                                    StartsWith("The configuration is the folder"))))
        << line;
  }
  EXPECT_THAT(Type("reload f\n"), HasSubstr("\"reload\" is understood, \"f\" after it is not."));
  EXPECT_THAT(Type("route\n"), HasSubstr("\n> 10.40.0.0/13 ")) << "the folder was applied";
  EXPECT_THAT(Type("reload force\n"), StartsWith("reload force\n"));
  EXPECT_THAT(Type("route 10.40.0.0/13\n"), HasSubstr("\nNo IPv4 route"));
  Leave(*terminal);
}

TEST_P(Habits, CtrlCStopsARunningView) {
  terminal->Send("watch interface\n");
  terminal->ReadUntil("watch interface");
  terminal->AwaitCommandUnderWay();
  EXPECT_EQ(Run({"lab", "interface", "eth1", "down"}).status, 0);
  EXPECT_THAT(terminal->ReadUntil("down (console)\r\n"), HasSubstr("VLAN 10 interface eth1 "));
  EXPECT_THAT(Type(CONTROL_C), Not(HasSubstr("again leaves")));
  EXPECT_EQ(Run({"lab", "interface", "eth1", "up"}).status, 0);
  if (!IsClient()) {
    terminal->ReadUntil("eth1 up\r\n");  // the log shares the terminal
    terminal->ReadUntil(PROMPT);
  }
  EXPECT_THAT(Type("version\n"), AllOf(HasSubstr("vantacore "), Not(HasSubstr("up (console)"))))
      << "it is watched all the same";
  Leave(*terminal);
}

// More than the terminal, the client and the daemon hold for a reader together.
TEST_P(Habits, CtrlCStopsALongView) {
  folder.Write("vlans.json", WithRoutes(5000));
  EXPECT_THAT(Type("reload force\n"), StartsWith("reload force\n"));
  terminal->Send("route6\n");
  terminal->AwaitCommandUnderWay();
  terminal->AwaitFullTerminal();
  terminal->Send(CONTROL_C);
  EXPECT_THAT(terminal->ReadUntil(PROMPT), Not(HasSubstr("2001:db8:113:87::/64")));
  EXPECT_THAT(Type("route6 2001:db8:113:87::/64\n"), HasSubstr("\n  2001:db8:113:87::/64 "))
      << "that is the last row";
  Leave(*terminal);
}

TEST_P(Habits, EightyColumnsAreEnough) {
  EXPECT_EQ(FindWide({"route vrf all", "route6 vrf all", "route summary", "explain 10.9.0.0/16",
                      "explain 10.50.1.1", "explain 2001:db8:50::/48", "summary", "summary vrf all",
                      "status", "version", "help", "lab", "requests"}),
            "");
  Type("lab stack refuse route 2 times\n");
  Type("lab stack restart\n");
  EXPECT_THAT(Ask("requests"), testing::Contains("2 refused"));
  EXPECT_EQ(FindWide({"requests", "route refused", "explain 0.0.0.0/0", "status"}), "");
  Leave(*terminal);
}

class LongRows : public Habits {
 protected:
  LongRows() {
    folder.Remove("remote/headquarters.json");
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "uplink-to-core1", "vlan": 10, "index": 2147483647, "ipv4": "192.168.100.101/24",
       "ipv6": ["2001:db8:1111:2222:3333:4444:5555:6666/64"]},
      {"name": "eth0", "vlan": 10, "index": 4, "up": false,
       "ipv6": ["2001:db8:1111:3333:3333:4444:5555:6666/64"]}]})");
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"office": {"vid": 10,
      "STATIC_ROUTES": {"r": {"network": "203.111.222.248", "netmask": "255.255.255.252",
        "gateway": "192.168.100.254", "metric": "254", "interface": "uplink-to-core1"}},
      "STATIC_ROUTES6": {
        "best": {"network": "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ff00", "prefix": "120",
          "gateway": "2001:db8:1111:2222:9999:aaaa:bbbb:cccc", "metric": "200",
          "interface": "uplink-to-core1"},
        "second": {"network": "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ff00", "prefix": "120",
          "gateway": "2001:db8:1111:3333:9999:aaaa:bbbb:cccc", "metric": "201",
          "interface": "eth0"},
        "lost": {"network": "2001:db8:9999::", "prefix": "48",
          "gateway": "2001:db8:ffff:3333:9999:aaaa:bbbb:cccc"}}}}})");
  }
};

INSTANTIATE_TEST_SUITE_P(OfBoth, LongRows, testing::ValuesIn(system_test::BOTH),
                         system_test::NameOfOne);

TEST_P(LongRows, BendAtAFixedPlace) {
  const std::regex row("[> ?!] 2001:[0-9a-f:]+/[0-9]+");
  const std::regex bent("    \\[[0-9-]+/[0-9]+\\] +[0-9a-f:-]+ .*");
  int count = 0;
  const std::vector<std::string> lines = Ask("route6");
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    if (std::regex_match(lines[i], row)) {
      EXPECT_TRUE(std::regex_match(lines[i + 1], bent)) << lines[i + 1];
      ++count;
    }
  }
  EXPECT_EQ(count, 4) << "the connected route and the three static ones";
  Leave(*terminal);
}

TEST_P(LongRows, FitTheTerminalToo) {
  const std::string longest = "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ff00/120";
  EXPECT_EQ(FindWide({"route", "route6", "explain " + longest, "explain 203.111.222.248/30",
                      "summary vrf all", "requests"}),
            "");
  Type("lab stack refuse route 4 times\n");
  Type("lab stack restart\n");
  EXPECT_THAT(Ask("requests"), testing::Contains("! VLAN 10: route " + longest + " via"));
  EXPECT_EQ(FindWide({"requests", "route6 refused", "explain " + longest}), "");
  Leave(*terminal);
}

}  // namespace
