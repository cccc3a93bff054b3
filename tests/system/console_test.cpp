// The console on a pipe and on a terminal, and the process around it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "daemon_process.h"
#include "shown.h"
#include "signs.h"
#include "tests/support/scratch_folder.h"

namespace {

using system_test::Arguments;
using system_test::Await;
using system_test::DaemonProcess;
using system_test::Result;
using system_test::RunDaemon;
using system_test::Shown;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// A device with one VLAN, on a clock that makes the library's scheduler turn quickly.
class Console : public testing::Test {
 protected:
  Console() {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {
      "a": {"vid": 10, "RIPV2": {"enabled": true}}, "b": {"vid": 20}}})");
  }

  Arguments With(const Arguments& more = {}) const {
    Arguments arguments = {"--config", folder.Path(), "--tick-us", "100", "--lab"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  Result Run(const std::string& input, const Arguments& more = {}) const {
    return RunDaemon(With(more), input);
  }
  // Runs one command at the daemon's socket.
  static Result Ask(const std::string& socket, Arguments words) {
    words.insert(words.begin(), {"--socket", socket, "--timeout", "3"});
    return RunDaemon(words, "", VANTACORECTL_COMMAND);
  }

  test_support::ScratchFolder folder;
};

TEST_F(Console, TakesLinesOfAScriptForComments) {
  const Result result =
      Run("# a script\n!\n  ! quit\n\t#quit | count\nip protocol summary\n# the end");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, StartsWith("   VID  BGP4+"));
  EXPECT_EQ(Run("vrf 10 # no comment\n").status, 2) << "only a whole line is one";
}

TEST_F(Console, NamesTheLinesThatWereNotDone) {
  const Result result =
      Run("# a script\nfoo\nip protocol summary\n\nvrf 99\nip protocol\nvrf 10\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.log, HasSubstr("\nvantacored: line 2: usage\nvantacored: line 5: refused\n"
                                    "vantacored: line 6: usage\nStopped after "));
  EXPECT_THAT(result.output, StartsWith("\"foo\" is unknown. Possible: "));
  EXPECT_THAT(result.output, HasSubstr("\nVLAN 99 is not present\nUsage:"));
}

TEST_F(Console, EndsWithItsInput) {
  const Result result = Run("");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "");
}

TEST_F(Console, PrintsEachCommandsOutputInOrder) {
  const Result result = Run("ip protocol summary\n\nrtm rib\nip6 protocol summary");
  EXPECT_THAT(result.output, StartsWith("   VID  BGP4+ OSPFv2  RIPv2   IGMP\n"
                                        "    10     No     No    Yes     No\n"
                                        "    20     No     No     No     No\n"
                                        "\n VLAN "));
  EXPECT_THAT(result.output, EndsWith("End of table\n"
                                      "   VID  BGP4+ OSPFv3  RIPng    MLD\n"
                                      "    10     No     No     No     No\n"
                                      "    20     No     No     No     No\n"));
  EXPECT_EQ(result.status, 0);
}

TEST_F(Console, HasSettledBeforeTheFirstCommand) {
  const Result result = Run("rtm route\n");
  EXPECT_THAT(result.output, HasSubstr("10.1.0.0/16"));
  EXPECT_THAT(result.output, EndsWith("End of table\n"));
}

TEST_F(Console, GoesOnAfterFiveSecondsWithoutSettling) {
  // The library's scheduler looks at its items, of which the route is one, every hundred seconds.
  folder.Write("vlans.json",
               R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"enabled": true},
      "STATIC_ROUTES": {"r": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.0.2"}}}}})");
  const Result result =
      RunDaemon({"--config", folder.Path(), "--tick-us", "1000000"}, "ip protocol summary\n");
  EXPECT_EQ(result.errors, "Requests are still under way after 5 s; going on\n");
  EXPECT_THAT(result.output, HasSubstr("    10     No     No    Yes     No\n"));
  EXPECT_EQ(result.status, 0);
}

TEST_F(Console, TellsOfUnknownWordsInItsExitStatus) {
  const Result result = Run("foo\nip bar\nvrf 20\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(
      result.output,
      "\"foo\" is unknown. Possible: route route6 explain summary requests status version watch "
      "metrics interface interface6 ip ip6 rtm show vrf check diff reload confirm undo history "
      "revision verify retry log lab help ? quit exit\n"
      "\"ip\" is understood, \"bar\" after it is not. Possible: bgp igmp ospf protocol "
      "rip\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(Console, TellsOfUsageTextsInItsExitStatus) {
  for (const char* line : {"vrf", "route via", "interface vrf", "lab stack", "ip protocol foo",
                           "ip protocol ips", "ip bgp vrf", "rtm rib proto isis"}) {
    const Result result = Run(std::string(line) + "\nvrf 20\n");
    EXPECT_THAT(result.output, StartsWith("Usage: ")) << line;
    EXPECT_EQ(result.status, 2) << line;
  }
  const Result result = Run("ip protocol database vrf ten\n");
  EXPECT_THAT(result.output, HasSubstr("\nUsage: "));
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(Run("ip protocol database vrf 30\nvrf 20\n").status, 1);
}

TEST_F(Console, ShowsTheInterfacesOfAVlan) {
  const Result result = Run("interface\nvrf 20\nshow interface6 vrf 10\ninterface\n");
  const std::string head =
      "\nFlags:\nB-Broadcast M-Multicast L-Loopback\nT-MPLS Tunnel P-Point2Point U-Unnumbered\n"
      "VLAN    IfIndex     IfName Status    MTU  Flags IPAddress\n";
  EXPECT_EQ(result.output, head +
                               "  10          3       eth0     UP   1500        10.1.0.1/16\n"
                               "End of Table\n" +
                               head +
                               "  10          3       eth0     UP   1500        \n"
                               "End of Table\n" +
                               head + "End of Table\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Console, FollowsLabCommands) {
  const Result result =
      Run("lab interface eth0 down\nrtm route\nlab interface eth0 up\nrtm route\n"
          "lab stack hold\nlab stack release\nlab tick fast\nlab tick normal\nlab join eth7\n");
  EXPECT_EQ(result.output.substr(0, 13), "End of table\n");
  EXPECT_THAT(result.output, HasSubstr("10.1.0.0/16"));
  EXPECT_THAT(result.output, EndsWith("End of table\nVLAN 10 has no interface \"eth7\"\n"));
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(Run("lab foo\n").status, 2);
}

TEST_F(Console, BringsEverythingBackToARestartedStack) {
  const std::string tables = Run("rtm rib\ninterface\nip rip\n").output;
  EXPECT_THAT(tables, HasSubstr("10.1.0.0/16"));
  const Result result = Run("lab stack restart\nrtm rib\ninterface\nip rip\n");
  EXPECT_EQ(result.output, tables);
  EXPECT_EQ(result.errors, "");
}

TEST_F(Console, QuitsBeforeTheEndOfItsInput) {
  for (const char* word : {"quit", "exit"}) {
    const Result result = Run(std::string(word) + "\nip protocol summary\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
  }
  EXPECT_EQ(Run("foo\nquit\n").status, 2);
}

TEST_F(Console, BindsCommandsToTheSessionsVlan) {
  const Result result = Run("rtm rib\nvrf 20\nrtm rib\nvrf 30\n");
  EXPECT_THAT(result.output, HasSubstr("10.1.0.0/16"));
  EXPECT_THAT(result.output, EndsWith("End of table\nEnd of table\nVLAN 30 is not present\n"));
}

// Neither on standard output nor in the log, which may be on the same terminal.
TEST_F(Console, RepeatsNoWordAsATerminalWouldObeyIt) {
  const std::string word = "\x1b[2J\xc2\x9b\xff\u202e";
  std::string lines;
  for (const char* before : {"", "ip ", "vrf ", "lab stack ", "lab join ",
                             "ip protocol database vrf ", "ip protocol ips set filter type in "}) {
    lines += before + word + "\n";
  }
  const Result result = Run(lines, {"--log", "10"});
  EXPECT_THAT(result.output, HasSubstr("Invalid VLAN ID \\x1b[2J\\xc2\\x9b\\xff\\xe2\\x80\\xae\n"));
  for (const char* byte : {"\x1b", "\xc2", "\xff", "\xe2"}) {
    EXPECT_THAT(result.output, Not(HasSubstr(byte)));
    EXPECT_THAT(result.errors, Not(HasSubstr(byte)));
  }
}

TEST_F(Console, TakesALineOfAnyLength) {
  const Result result = Run(std::string(100000, 'x') + "\nip protocol summary\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, StartsWith("\"" + std::string(60, 'x') + "...\" is unknown."));
  EXPECT_THAT(result.output, HasSubstr("    10     No     No    Yes     No\n"));
}

TEST_F(Console, CanBeEndedWhileItReadsALineWithoutEnd) {
  DaemonProcess daemon(With(), DaemonProcess::PIPES,
                       system_test::WithStreams("</dev/zero", VANTACORED_COMMAND));
  daemon.ReadUntil("There is a NUL in ");
  daemon.Kill(SIGTERM);
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Console, TakesBytesThatAreNoText) {
  std::string noise;
  for (int i = 0; i < 256; ++i) {
    noise += static_cast<char>(i);
  }
  EXPECT_EQ(Run(noise + "\nip " + noise + "\nrtm rib dest " + noise + "\n").status, 2);
}

TEST_F(Console, EndsWhenNobodyReadsItsOutput) {
  // `head` leaves after the first line; the pipe is full long before the input ends.
  std::string input;
  for (int i = 0; i < 20000; ++i) {
    input += "help\n";
  }
  folder.Write("input", input);
  const std::string command = std::string(VANTACORED_COMMAND);
  std::string words = command;
  for (char& c : words) {
    c = c == ';' ? ' ' : c;
  }
  const std::string line = "set -o pipefail; " + words + " --config " + folder.Path() +
                           " --tick-us 100 < " + folder.PathOf("input") + " | head -n 1 > " +
                           folder.PathOf("output");
  const int status = std::system(("bash -c '" + line + "'").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
  std::ifstream output(folder.PathOf("output"));
  std::string first;
  EXPECT_TRUE(std::getline(output, first)) << "nothing was printed before the reader left";
}

TEST_F(Console, SaysThatItsOutputIsLost) {
  const Result lost =
      RunDaemon(With(), "help\nhelp\n", system_test::WithStreams(">/dev/full", VANTACORED_COMMAND));
  EXPECT_EQ(lost.status, 1);
  EXPECT_EQ(lost.errors, "vantacored: standard output cannot be written\n");
}

TEST_F(Console, SaysThatWhatWasAskedForInTheCommandLineIsLost) {
  for (const char* program : {VANTACORED_COMMAND, VANTACORECTL_COMMAND}) {
    for (const char* option : {"--help", "--version"}) {
      const Result lost = RunDaemon({option}, "", system_test::WithStreams(">/dev/full", program));
      EXPECT_EQ(lost.status, 1) << program << option;
      EXPECT_THAT(lost.errors, EndsWith(": standard output cannot be written\n"));
    }
  }
}

TEST_F(Console, SaysThatItsInputCannotBeRead) {
  const Result unread = RunDaemon(With(), "", system_test::WithStreams("</", VANTACORED_COMMAND));
  EXPECT_EQ(unread.status, 1);
  EXPECT_EQ(unread.errors, "vantacored: standard input cannot be read\n");
}

TEST_F(Console, ShowsTheLogUpToTheLevelAskedFor) {
  EXPECT_THAT(Run("").errors, IsEmpty());
  const Result talkative = Run("", {"--log", "10"});
  EXPECT_THAT(talkative.errors, HasSubstr("Creating VLAN 10\n"));
  EXPECT_THAT(talkative.errors, HasSubstr("Starting Metaswitch\n"));
  EXPECT_THAT(talkative.output, IsEmpty());
}

TEST_F(Console, ExplainsItself) {
  const Result help = RunDaemon({"--help"}, "");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.output, StartsWith("Usage: vantacored --config DIR [OPTION...]\n"));
  EXPECT_EQ(help.errors, "");
  const Result version = RunDaemon({"--version"}, "");
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.output, StartsWith("vantacored "));
}

TEST_F(Console, RefusesOptionsThatItDoesNotKnow) {
  const Result result = RunDaemon({"--colour"}, "");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors,
            "vantacored: no such option: \"--colour\"\nvantacored --help tells more.\n");
}

TEST_F(Console, NeedsAFolder) {
  const Result result = RunDaemon({"--config", folder.PathOf("nowhere")}, "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, folder.PathOf("nowhere") + ": No such file or directory\n");
}

TEST_F(Console, TakesNoProgramForAFolder) {
  const Result result = RunDaemon({"--config", "/bin/sh"}, "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "/bin/sh: Not a directory\n");
}

TEST_F(Console, EndsCleanlyOnSignals) {
  for (const int number : {SIGINT, SIGTERM}) {
    DaemonProcess daemon(With(), DaemonProcess::PIPES);
    daemon.Send("ip protocol summary\n");
    daemon.ReadUntil("    20 ");
    daemon.Kill(number);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_EQ(daemon.Errors(), "");
  }
}

class Daemon : public Console {};

TEST_F(Daemon, IgnoresItsStandardInput) {
  DaemonProcess daemon(With({"--daemon", "--log", "10"}), DaemonProcess::PIPES);
  daemon.Send("ip protocol summary\nquit\n");
  daemon.CloseInput();
  daemon.ReadErrorsUntil("Scheduling Timer Expired");
  daemon.Kill(SIGTERM);
  EXPECT_EQ(daemon.Wait(), 0);
  EXPECT_EQ(daemon.Output(), "");
}

TEST_F(Daemon, ReadsTheFolderAgainOnHangUp) {
  DaemonProcess daemon(With({"--daemon", "--log", "10"}), DaemonProcess::PIPES);
  daemon.ReadErrorsUntil("Creating VLAN 20\n");
  daemon.ReadErrorsUntil("Scheduling Timer Expired");
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})");
  daemon.Kill(SIGHUP);
  daemon.ReadErrorsUntil("Deleted VLAN 20\n");
  daemon.Kill(SIGTERM);
  EXPECT_EQ(daemon.Wait(), 0);
}

// A limit on the size of files is an error of a write, and not the end of the device's routing.
TEST_F(Daemon, SurvivesALogThatMayNotGrow) {
  DaemonProcess daemon(
      With({"--log", "10"}), DaemonProcess::PIPES,
      "sh;-c;ulimit -f 8 && exec \"$@\" 2>'" + folder.PathOf("log") + "';sh;" VANTACORED_COMMAND);
  daemon.Send("ip protocol summary\nquit\n");
  EXPECT_EQ(daemon.Wait(), 0);
  EXPECT_THAT(daemon.Output(), HasSubstr("BGP4+"));
}

// What a path holds must not reach the terminal of whoever mistypes it.
TEST_F(Daemon, ShowsNoPathThatATerminalWouldObey) {
  const Result result = RunDaemon({"--config", "/nowhere\x1b[31m"}, "", VANTACORED_COMMAND);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "/nowhere\\x1b[31m: No such file or directory\n");
}

TEST_F(Daemon, RunsWithoutStandardStreams) {
  const std::string path = folder.PathOf("console");
  const auto hasVlan = [&path](const char* vlan) {
    return Ask(path, {"ip", "protocol", "summary"}).output.find(vlan) != std::string::npos;
  };
  for (const char* closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-"}) {
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 20}}})");
    DaemonProcess daemon(With({"--daemon", "--log", "10", "--socket", path}), DaemonProcess::PIPES,
                         system_test::WithStreams(closed, VANTACORED_COMMAND));
    EXPECT_TRUE(Await("VLAN 20", [&] { return hasVlan("    20 "); })) << closed;
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 30}}})");
    daemon.Kill(SIGHUP);
    EXPECT_TRUE(Await("VLAN 30", [&] { return hasVlan("    30 "); })) << closed;
    daemon.Kill(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 0) << closed;
  }
}

class Terminal : public Console {
 protected:
  Terminal() : daemon(With(), DaemonProcess::TERMINAL) { daemon.ReadUntil(PROMPT); }

  // Sends a line and returns what is shown until the next prompt.
  std::string Type(const std::string& line) {
    daemon.Send(line + "\n");
    return daemon.ReadUntil(PROMPT);
  }

  static constexpr const char* PROMPT = "vantacore[10]> ";
  DaemonProcess daemon;
};

TEST_F(Terminal, PromptsAndEchoes) {
  EXPECT_THAT(Shown(Type("ip protocol summary")),
              StartsWith("ip protocol summary\n   VID  BGP4+ OSPFv2  RIPv2   IGMP\n"));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Terminal, PromptsAgainWhenAWalkIsOver) {
  EXPECT_THAT(Type("rtm rib"), HasSubstr("End of table\r\n"));
}

TEST_F(Terminal, ShowsTheSessionsVlan) {
  daemon.Send("vrf 20\n");
  daemon.ReadUntil("vantacore[20]> ");
}

TEST_F(Terminal, CompletesWords) {
  EXPECT_THAT(Shown(Type("sh\tip pro\tsu\t")), StartsWith("show ip protocol summary \n   VID "));
}

TEST_F(Terminal, RemembersLines) {
  Type("ip protocol summary");
  daemon.Send("\x10\n");  // control-P
  EXPECT_THAT(Shown(daemon.ReadUntil("   VID")), EndsWith("ip protocol summary\n   VID"));
}

TEST_F(Terminal, ListsWordsThatMayFollow) {
  daemon.Send("ip \t");
  EXPECT_THAT(Shown(daemon.ReadUntil(PROMPT)),
              testing::MatchesRegex("ip \nbgp +igmp +ospf +protocol +rip *\nvantacore.10.> "));
}

TEST_F(Terminal, TakesLinesThatComeAllAtOnce) {
  std::string lines;
  for (int pair = 0; pair < 50; ++pair) {
    lines += "vrf 20\nvrf 10\n";
  }
  daemon.Send(lines);
  for (int pair = 0; pair < 50; ++pair) {
    daemon.ReadUntil("vantacore[20]> ");
    daemon.ReadUntil(PROMPT);
  }
}

// The rest of such a key may never come. A loop that waited for it would stop routing.
TEST_F(Terminal, DoesNotStopTheDaemonWithAKeyThatIsHalfTyped) {
  for (const char* key : {"\x1b", "\x1b[", "\x12", "\x16", "\x18"}) {
    DaemonProcess other(With(), DaemonProcess::TERMINAL);
    other.ReadUntil(PROMPT);
    other.Send("ip");
    other.ReadUntil("ip");
    other.SendAndAwaitReading(key);
    other.Kill(SIGTERM);
    EXPECT_EQ(other.Wait(), 0);
  }
}

TEST_F(Terminal, IsGivenBackAsItWas) {
  const auto isRaw = [this] { return (daemon.Terminal().c_lflag & ICANON) == 0; };
  EXPECT_TRUE(isRaw());
  Type("lab stack hold");
  daemon.Send("rtm rib\n");  // a stack that is held does not answer a walk
  daemon.ReadUntil("working for 1 s");
  EXPECT_FALSE(isRaw());
  daemon.Send("\x03");
  daemon.ReadUntil(PROMPT);
  EXPECT_TRUE(isRaw());
  daemon.Kill(SIGTERM);
  EXPECT_EQ(daemon.Wait(), 0);
  EXPECT_FALSE(isRaw());
  EXPECT_NE(daemon.Terminal().c_lflag & ECHO, 0u);
}

TEST_F(Terminal, WaitsUntilAReloadHasSettled) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "c": {"vid": 30}}})");
  Type("reload");
  EXPECT_THAT(Type("ip protocol summary"), HasSubstr("    30     No"));
}

TEST_F(Terminal, HasShownWhatWentWrongAndEndsWellAllTheSame) {
  Type("no such word");
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Terminal, LeavesAtTheEndOfInput) {
  daemon.Send("\x04");  // control-D
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Terminal, ShowsThatACommandIsStillWorkingAndStopsItOnInterrupt) {
  Type("lab stack hold");
  daemon.Send("rtm rib\n");  // a stack that is held does not answer a walk
  daemon.ReadUntil("working for 1 s; Ctrl-C stops the output");
  daemon.ReadUntil("working for 2 s");
  daemon.Send("\x03");
  daemon.ReadUntil(PROMPT);
  Type("lab stack release");
  // The abandoned walk has run out silently; this one is whole.
  EXPECT_THAT(Type("rtm rib"), HasSubstr("End of table\r\n"));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Terminal, WaitsNoLongerForAnEffectOnInterrupt) {
  Type("lab stack hold");
  daemon.Send("lab interface eth0 down\n");
  daemon.ReadUntil("working for 1 s; Ctrl-C stops the output");
  daemon.Send("\x03");
  EXPECT_THAT(daemon.ReadUntil(PROMPT), Not(HasSubstr("Requests are still under way")));
  Type("lab stack release");
  EXPECT_THAT(Type("interface"), HasSubstr("eth0   DOWN"));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Terminal, TakesItsProgressAwayBeforeTheLogSpeaks) {
  Type("lab stack hold");
  daemon.Send("lab interface eth0 down\n");
  EXPECT_THAT(daemon.ReadUntil(PROMPT),
              HasSubstr("\r\033[KRequests are still under way after 5 s; going on"));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

class TerminalBesideASocket : public Console {
 protected:
  // What is shown until this text comes, as rows of a wide terminal.
  std::string See(const std::string& text) { return Shown(daemon.ReadUntil(text)); }
  void Change(const char* how) {
    EXPECT_EQ(Ask(path, {"lab", "interface", "eth0", how}).status, 0);
  }

  static constexpr const char* PROMPT = "vantacore[10]> ";
  const std::string path = folder.PathOf("console");
  DaemonProcess daemon{With({"--socket", path}), DaemonProcess::TERMINAL};
};

TEST_F(TerminalBesideASocket, ShowsTheLogAboveTheLineThatIsBeingEdited) {
  See(PROMPT);
  daemon.Send("ip pro");
  See("pro");
  Change("down");
  EXPECT_THAT(Shown(std::string(PROMPT) + "ip pro" + daemon.ReadUntil("ip pro")),
              testing::MatchesRegex("[^\n>]* lab interface eth0 down\nvantacore.10.> ip pro"));
  daemon.Send("tocol summary\n");
  EXPECT_THAT(See(PROMPT), HasSubstr("   VID  BGP4+"));
  Change("up");
  EXPECT_THAT(Shown(PROMPT + daemon.ReadUntil(PROMPT)),
              testing::MatchesRegex("[^\n>]* lab interface eth0 up\nvantacore.10.> "));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

// The cursor stays where it is, and what is typed while the log speaks is taken.
TEST_F(TerminalBesideASocket, GoesOnWithTheLineWhereTheCursorIs) {
  See(PROMPT);
  daemon.Send("rotocol summary\x01");
  See("summary");
  Change("down");
  See("eth0 down");
  See("summary");
  daemon.Send("ip p\n");
  EXPECT_THAT(See(PROMPT), HasSubstr("   VID  BGP4+"));
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

// Ctrl-C is a signal while the log has the terminal.
TEST_F(TerminalBesideASocket, ASignalDropsTheLineThatIsBeingEdited) {
  See(PROMPT);
  daemon.Send("ip pro");
  See("pro");
  daemon.Kill(SIGINT);
  See("Ctrl-C again leaves");
  See(PROMPT);
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

// The device goes on while the operator has stopped the terminal with Ctrl-S at the prompt.
TEST_F(TerminalBesideASocket, WaitsForATerminalThatIsStoppedWithItsLog) {
  See(PROMPT);
  daemon.Send("ip pro\x13");
  usleep(100000);
  for (int i = 0; i < 3; ++i) {
    Change("down");
    Change("up");
  }
  daemon.Send("\x11");
  for (int i = 0; i < 3; ++i) {
    See("lab interface eth0 up");
  }
  See("ip pro");  // the line is back; the log has the terminal no more
  daemon.Send("\x03");
  See(PROMPT);
  daemon.Send("quit\n");
  EXPECT_EQ(daemon.Wait(), 0);
}

// A terminal takes no output when the operator has stopped it with Ctrl-S.
TEST_F(Terminal, DoesNotStopTheDaemonWhenItTakesNoOutput) {
  std::string routes;
  for (int i = 0; i < 5000; ++i) {
    const std::string network =
        "10." + std::to_string(100 + i / 250) + "." + std::to_string(i % 250) + ".0";
    routes += (i == 0 ? "" : ",") + (R"("r)" + std::to_string(i)) + R"(": {"network": ")" +
              network + R"(", "netmask": "255.255.255.0", "gateway": "10.1.0.2"})";
  }
  folder.Write("vlans.json",
               R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}}}");
  const std::string path = folder.PathOf("console");
  DaemonProcess other({"--config", folder.Path(), "--tick-us", "10", "--socket", path},
                      DaemonProcess::TERMINAL);
  other.ReadUntil(PROMPT);
  Await("5000 routes", [&path] { return Ask(path, {"rtm", "rib"}).output.size() >= 300000; });
  other.Send("rtm rib\n");
  other.AwaitFullTerminal();
  const Result meanwhile = Ask(path, {"vrf", "10"});
  EXPECT_EQ(meanwhile.status, 0) << meanwhile.errors;
  EXPECT_THAT(other.ReadUntil(PROMPT),
              testing::AllOf(HasSubstr(" 10.119.249.0/24 "), HasSubstr("End of table\r\n")));
  other.Send("rtm rib\n");
  other.AwaitFullTerminal();
  other.Kill(SIGINT);
  other.ReadUntil(PROMPT);
  other.Send("rtm rib\n");
  other.AwaitFullTerminal();
  other.Kill(SIGTERM);
  EXPECT_EQ(other.Wait(), 0);
}

TEST_F(Terminal, LeavesInOrderWhenItHangsUp) {
  const std::string path = folder.PathOf("console");
  DaemonProcess other(With({"--socket", path}), DaemonProcess::TERMINAL);
  other.ReadUntil(PROMPT);
  EXPECT_EQ(access(path.c_str(), F_OK), 0);
  other.Kill(SIGHUP);
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_NE(access(path.c_str(), F_OK), 0) << "the socket has stayed";
}

// A signal that no key has sent, or a key that was meant for a command that has just ended.
TEST_F(Terminal, TakesAnInterruptFromElsewhereAsTheKeyOnAnEmptyLine) {
  daemon.Kill(SIGINT);
  EXPECT_THAT(daemon.ReadUntil(PROMPT), HasSubstr("Ctrl-C again leaves"));
  daemon.Kill(SIGINT);
  EXPECT_EQ(daemon.Wait(), 0);
}

}  // namespace
