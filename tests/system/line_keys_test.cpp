// What an operator's keys do at the prompt: of the client, and of the daemon's own terminal.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>

#include "device/wire/wire.h"
#include "prompt_fixture.h"
#include "shown.h"
#include "socket_ends.h"

namespace {

using system_test::Client;
using system_test::CONTROL_C;
using system_test::DaemonProcess;
using system_test::Prompt;
using system_test::PROMPT;
using system_test::Shown;
using system_test::SlowDaemon;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* CONTROL_A = "\x01";
constexpr const char* CONTROL_P = "\x10";
constexpr const char* CONTROL_V = "\x16";

INSTANTIATE_TEST_SUITE_P(OfBoth, Prompt, testing::ValuesIn(system_test::BOTH),
                         system_test::NameOfOne);

TEST_P(Prompt, DropsALineThatHasBeenBegun) {
  terminal->Send("no such word");
  terminal->ReadUntil("word");
  EXPECT_THAT(Type(CONTROL_C), Not(HasSubstr("unknown")));
  EXPECT_THAT(Type("ip protocol summary\n"), StartsWith("ip protocol summary\n   VID"));
  terminal->Send("no such word either");
  terminal->ReadUntil("either");
  Type(CONTROL_C);
  EXPECT_THAT(Recall(CONTROL_P), HasSubstr("ip protocol summary\n")) << "nothing is kept of it";
  Leave(*terminal);
}

TEST_P(Prompt, HelpsInTheMiddleOfALine) {
  EXPECT_THAT(Type("ip p?"), AllOf(StartsWith("ip p?\n"), HasSubstr("protocol"),
                                   Not(HasSubstr("igmp")), EndsWith(PROMPT)));
  EXPECT_THAT(Shown(terminal->ReadUntil("ip p")), "ip p");
  EXPECT_THAT(Type("rotocol summary\n"), HasSubstr("    10     No     No    Yes"));
  Leave(*terminal);
}

TEST_P(Prompt, HelpsWhereTheCursorIs) {
  terminal->Send("p");
  terminal->ReadUntil("p");
  EXPECT_THAT(Type(std::string(CONTROL_A) + "?"), AllOf(HasSubstr("reload"), HasSubstr("vrf")));
  terminal->ReadUntil("p");
  EXPECT_THAT(Type("ip \x05rotocol summary\n"), HasSubstr("    10     No     No    Yes"))
      << "the cursor is still before the p";
  Leave(*terminal);
}

// Each terminal has its own codes for them.
TEST_P(Prompt, KnowsTheKeysThatMoveInTheLine) {
  const std::string left = "\x1b[D", remove = "\x1b[3~";
  for (const std::string code : {"[H", "OH", "[1~", "[7~"}) {
    EXPECT_THAT(Type("p protocol summary\x1b" + code + "i\n"), HasSubstr("   VID")) << code;
  }
  for (const std::string code : {"[F", "OF", "[4~", "[8~"}) {
    EXPECT_THAT(Type("ip protocol summaryx" + std::string(CONTROL_A) + "\x1b" + code + left +
                     remove + "\n"),
                HasSubstr("   VID"))
        << code;
  }
  for (const std::string modifier : {"5", "3"}) {
    EXPECT_THAT(Type("ip summar\x1b[1;" + modifier + "Dprotocol \x1b[1;" + modifier + "Cy\n"),
                HasSubstr("   VID"))
        << modifier;
  }
  Leave(*terminal);
}

TEST_P(Prompt, FindsALineByItsBeginning) {
  Type("ip protocol summary\n");
  Type("ip rip\n");
  Type("vrf 10\n");
  for (const std::string key : {"\x1b[5~", "\x12"}) {
    EXPECT_THAT(Recall("ip p" + key), HasSubstr("ip protocol summary\n")) << key;
    EXPECT_THAT(Recall("ip" + key + key + key + "\x1b[6~\x1b[6~"),
                HasSubstr("ip protocol summary\n"))
        << "back and forth";
  }
  Leave(*terminal);
}

TEST_P(Prompt, TakesAQuestionMarkThatIsQuoted) {
  EXPECT_THAT(Type("what" + std::string(CONTROL_V) + "?\n"), HasSubstr("\"what?\" is unknown"));
  Leave(*terminal);
}

TEST_P(Prompt, RemembersLinesOfAnEarlierRun) {
  Type("ip protocol summary\n");
  Type("vrf 10\n");
  Leave(*terminal);
  struct stat found {};
  ASSERT_EQ(stat(FileOf("").c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777U, 0600U);
  terminal = OpenPrompt();
  EXPECT_THAT(Recall(std::string(CONTROL_P) + CONTROL_P + CONTROL_P),
              HasSubstr("ip protocol summary\n"));
  Leave(*terminal);
}

TEST_P(Prompt, RemembersLinesInTheHomeFolder) {
  Leave(*terminal);
  terminal = OpenPrompt("HOME");
  Type("vrf 10\n");
  Leave(*terminal);
  struct stat found {};
  EXPECT_EQ(stat(FileOf(".local/state/").c_str(), &found), 0);
}

TEST_P(Prompt, RemembersNothingWithoutAHome) {
  Leave(*terminal);
  terminal = OpenPrompt("NOWHERE");
  Type("vrf 10\n");
  Leave(*terminal);
  terminal = OpenPrompt("NOWHERE");
  terminal->Send(std::string(CONTROL_P) + "vrf 20\n");  // a line that was recalled would be longer
  terminal->ReadUntil("vantacore[20]> ");
  Leave(*terminal);
}

TEST_P(Prompt, IsNotHinderedByAFileThatIsNone) {
  Leave(*terminal);
  state.Remove("vantacore/history");
  ASSERT_EQ(mkdir(FileOf("").c_str(), 0700), 0);
  terminal = OpenPrompt();
  EXPECT_THAT(Type("vrf 10\n"), Not(HasSubstr("history")));
  Leave(*terminal);
}

TEST_P(Prompt, EndsOnInterruptsOfAnEmptyLine) {
  if (IsClient()) {
    Type("vrf 10\n");
    terminal->Send(CONTROL_C);
    EXPECT_EQ(terminal->Wait(), -SIGINT);
  } else {
    EXPECT_THAT(Type(CONTROL_C), HasSubstr("Ctrl-C again leaves\n"));
    Type("vrf 10\n");
    EXPECT_THAT(Type(CONTROL_C), HasSubstr("Ctrl-C again leaves\n")) << "the first one again";
    terminal->Send(CONTROL_C);
    EXPECT_EQ(terminal->Wait(), 0);
  }
  EXPECT_NE(terminal->Terminal().c_lflag & ECHO, 0u);
  EXPECT_NE(terminal->Terminal().c_cc[VINTR], _POSIX_VDISABLE);
  struct stat found {};
  EXPECT_EQ(stat(FileOf("").c_str(), &found), 0) << "what was typed is kept all the same";
}

TEST_F(Client, AsksTheDaemonForHelp) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::TERMINAL);
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  client->ReadUntil(PROMPT);
  client->Send("ip x?");
  const std::string asked = wire::EncodeHelp("ip x");
  EXPECT_EQ(slow.Read(asked.size()), asked);
  slow.Send(wire::EncodeOutput("a \x1b[2Jword\n") + wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_THAT(client->ReadUntil("> ip x"),
              AllOf(HasSubstr("a \\x1b[2Jword\r\n"), EndsWith("vantacore[10]> ip x")));
  client->Send("?");
  EXPECT_EQ(slow.Read(asked.size()), asked);
  slow.Send(wire::EncodeOutput("farewell\n") + wire::EncodeReply(wire::Code::REFUSED, 10, true));
  EXPECT_EQ(client->Wait(), 1);
  EXPECT_THAT(client->Output(), HasSubstr("farewell"));
}

TEST_F(Client, AddsAWordForJson) {
  const auto Sent = [this](const system_test::Arguments& words) {
    SlowDaemon slow(path);
    const auto client = Open(DaemonProcess::PIPES, words);
    slow.Accept();
    slow.Send(wire::EncodeReply(wire::Code::DONE, 10) + wire::EncodeReply(wire::Code::DONE, 10));
    EXPECT_EQ(client->Wait(), 0);
    unlink(path.c_str());
    return slow.Read(1000);
  };
  EXPECT_EQ(Sent({"--json", "history"}), "S\nC history json\n");
  EXPECT_EQ(Sent({"--json", "history", "|", "count"}), "S\nC history json | count\n");
  EXPECT_EQ(Sent({"history", "--json"}), "S\nC history --json\n");
  for (const char* command : {"ip protocol summary", "ip6", "show ip bgp", "sh ip6 protocol"}) {
    const system_test::Result ofLibrary = Run({"--json", command}, "");
    EXPECT_EQ(ofLibrary.status, 2) << command;
    EXPECT_THAT(ofLibrary.errors, HasSubstr("ip and ip6 answer with text only")) << command;
  }
  const system_test::Result none = Run({"--json"}, "history\n");
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.errors, HasSubstr("--json belongs to a command, and there is none"));
}

}  // namespace
