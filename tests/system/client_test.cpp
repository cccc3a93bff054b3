// The client as a process: what it prints, and how it ends.
#include <gmock/gmock.h>
#include <csignal>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "shown.h"
#include "socket_ends.h"

namespace {

using system_test::Arguments;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::Result;
using system_test::RunDaemon;
using system_test::SlowDaemon;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Client, CarriesOutTheWordsOfItsCommandLine) {
  StartDaemon();
  const Result result = Run({"ip", "protocol", "summary"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, SUMMARY);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(Run({"rtm", "route"}).output, HasSubstr("10.1.0.0/16"));
  ExpectHealthyDaemon();
}

TEST_F(Client, EndsWithTheReplysCode) {
  StartDaemon();
  EXPECT_EQ(Run({"vrf", "20"}).status, 0);
  const Result refused = Run({"vrf", "30"});
  EXPECT_EQ(refused.output, "VLAN 30 is not present\n");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(Run({"interface", "vrf", "30"}).status, 1);
  EXPECT_EQ(Run({"lab", "interface", "eth7", "down"}).status, 1);
  EXPECT_EQ(Run({"foo"}).status, 2);
  EXPECT_EQ(Run({"ip", "foo"}).status, 2);
  EXPECT_EQ(Run({"vrf"}).status, 2);
  const Result usage = Run({"ip", "protocol"});
  EXPECT_THAT(usage.output, StartsWith("Usage: "));
  EXPECT_EQ(usage.status, 2);
  EXPECT_EQ(Run({"reload"}).status, 0);
  EXPECT_EQ(Run({"quit"}).status, 0);
  EXPECT_EQ(Run({std::string(wire::MAX_TEXT + 1, 'x')}).status, 1);
  ExpectHealthyDaemon();
}

TEST_F(Client, NamesTheLinesThatWereNotDone) {
  StartDaemon();
  const Result result = Run({}, "! a script\nip protocol summary\nfoo\n\nvrf 30\nvrf 20\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.log, "vantacorectl: line 3: usage\nvantacorectl: line 5: refused\n");
  EXPECT_THAT(result.output, StartsWith(SUMMARY + std::string("\"foo\" is unknown. ")));
  EXPECT_THAT(result.output, EndsWith("\nVLAN 30 is not present\n"));
  EXPECT_EQ(Run({"vrf", "30"}).log, "") << "a command alone has no line";
  ExpectHealthyDaemon();
}

TEST_F(Client, AgreesWithAPipeOnWhatIsNotUnderstood) {
  StartDaemon();
  for (const Arguments& words :
       {Arguments{"vrf"}, Arguments{"interface", "vrf"}, Arguments{"ip", "protocol", "ips"},
        Arguments{"ip", "bgp", "vrf"}, Arguments{"ip", "foo"}}) {
    std::string line;
    for (const std::string& word : words) {
      line += word + " ";
    }
    EXPECT_EQ(Run(words).status, 2) << line;
    EXPECT_EQ(RunDaemon({"--config", folder.Path(), "--tick-us", "100"}, line).status, 2) << line;
  }
  ExpectHealthyDaemon();
}

TEST_F(Client, GetsNoWordBackThatATerminalWouldObey) {
  StartDaemon();
  for (const Arguments& before :
       {Arguments{}, Arguments{"ip", "protocol", "database", "vrf"}, Arguments{"lab", "join"}}) {
    Arguments words = before;
    words.push_back("\x1b[2J\u202e");
    EXPECT_THAT(Run(words).output, HasSubstr("\\x1b[2J\\xe2\\x80\\xae"));
  }
  ExpectHealthyDaemon();
}

// The log is the daemon's, so what is wrong comes to who asked. The library says nothing of what
// has been found: it does not get it.
TEST_F(Client, HearsWhatAReloadCannotUse) {
  StartDaemon();
  folder.Write("vlans.json", "{\n  broken");
  const Result broken = Run({"reload"});
  const std::string finding =
      "vlans.json:2:3: not JSON: no name of a member, expected one in double quotes, found "
      "\"broken\"\n";
  const std::string refusal = ": 1 error; nothing was changed\n";
  EXPECT_EQ(broken.output, finding + "Refused" + refusal);
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).output, SUMMARY);

  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})");
  folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  const Result odd = Run({"reload"});
  EXPECT_THAT(
      odd.output,
      StartsWith("remote/far.json:1:31: warning: VLAN_CONFIGURATIONS.a: an entry for a VLAN "
                 "that the VLAN document does not name, expected one of its VLANs, found "
                 "77\nRevision 2, reload by "));
  EXPECT_EQ(odd.status, 0) << "that was no error";

  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  const Result mended = Run({"reload"});
  EXPECT_THAT(mended.output, StartsWith("Revision 3, reload by "));
  EXPECT_EQ(mended.status, 0);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_THAT(daemon->Log(), HasSubstr(finding + "Refused to "));
  EXPECT_THAT(daemon->Log(), HasSubstr(" at the socket" + refusal + odd.output + mended.output +
                                       "Stopped after "));
  EXPECT_THAT(daemon->Log(), EndsWith(": SIGTERM\n"));
}

// What a check finds is for who asked alone.
TEST_F(Client, HearsWhatACheckFinds) {
  StartDaemon();
  EXPECT_EQ(Run({"check"}).output, "The folder has no errors\n");
  folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  const std::string warning =
      "remote/far.json:1:31: warning: VLAN_CONFIGURATIONS.a: an entry for a VLAN that the VLAN "
      "document does not name, expected one of its VLANs, found 77\n";
  const Result lenient = Run({"check"});
  EXPECT_EQ(lenient.output, warning + "The folder has no errors\n");
  EXPECT_EQ(lenient.status, 0);
  const Result strict = Run({"check", "strict"});
  EXPECT_EQ(strict.output, warning);
  EXPECT_EQ(strict.status, 1);
  folder.Remove("remote/far.json");
  const Result clean = Run({"check", "strict"});
  EXPECT_EQ(clean.output, "The folder has no errors and no warnings\n");
  EXPECT_EQ(clean.status, 0);
  EXPECT_EQ(Run({"check", "strictly"}).status, 2);
  ExpectHealthyDaemon();
}

TEST_F(Client, TakesCommandsFromStandardInput) {
  StartDaemon();
  const Result result = Run({}, "vrf 30\nip protocol summary\nfoo");
  EXPECT_THAT(result.output, StartsWith("VLAN 30 is not present\n" + std::string(SUMMARY) +
                                        "\"foo\" is unknown."));
  EXPECT_EQ(result.status, 1) << "the first that is not 0";
  EXPECT_EQ(Run({}, "").status, 0);
  const Result left = Run({}, "quit\nfoo\n");
  EXPECT_EQ(left.status, 0);
  EXPECT_EQ(left.output, "");
  ExpectHealthyDaemon();
}

TEST_F(Client, PromptsOnATerminal) {
  StartDaemon();
  const auto client = Open(DaemonProcess::TERMINAL);
  client->ReadUntil("vantacore[10]> ");
  client->Send("vrf 20\n");
  client->ReadUntil("vantacore[20]> ");
  client->Send("ip protocol summary\n");
  EXPECT_THAT(client->ReadUntil("vantacore[20]> "), HasSubstr("    10     No     No    Yes"));
  client->Send("quit\n");
  EXPECT_EQ(client->Wait(), 0);
  ExpectHealthyDaemon();
}

TEST_F(Client, CompletesWordsAtItsPrompt) {
  StartDaemon();
  const auto client = Open(DaemonProcess::TERMINAL);
  client->ReadUntil("vantacore[10]> ");
  client->Send("ip pro\tsu\t\n");
  EXPECT_THAT(system_test::Shown(client->ReadUntil("vantacore[10]> ")),
              testing::AllOf(HasSubstr("ip protocol summary"), HasSubstr("    10     No     No")));
  client->Send("lab in\teth0 do\t\n");
  client->ReadUntil("vantacore[10]> ");
  client->Send("ip rip vrf 10\n");
  EXPECT_THAT(client->ReadUntil("vantacore[10]> "), HasSubstr("0 of 1 interfaces ready"));
  client->Send("quit\n");
  EXPECT_EQ(client->Wait(), 0);
  ExpectHealthyDaemon();
}

TEST_F(Client, IsToldWhatIsWrongWithItsOwnWords) {
  const Result nothing = system_test::RunDaemon({}, "", VANTACORECTL_COMMAND);
  EXPECT_EQ(nothing.status, 2);
  EXPECT_EQ(nothing.errors,
            "vantacorectl: --socket PATH is missing\nvantacorectl --help tells more.\n");
  EXPECT_EQ(Run({"--timeout", "0", "help"}).status, 2);
  const auto refusal = [this](const std::string& option) {
    const Result refused = Run({option, "help"});
    EXPECT_EQ(refused.status, 2);
    return refused.errors.substr(0, refused.errors.find('\n'));
  };
  EXPECT_EQ(refusal("--colour"), "vantacorectl: no such option: \"--colour\"");
  EXPECT_EQ(refusal("-xyz"), "vantacorectl: no such option: \"-x\"");
  EXPECT_EQ(refusal("--help=x"), "vantacorectl: no value belongs to \"--help=x\"");
  const Result help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.output, StartsWith("Usage: vantacorectl --socket PATH"));
}

TEST_F(Client, TakesLinesOfAScriptForComments) {
  StartDaemon();
  const Result result =
      Run({}, "# a script\n!\n  ! quit\n\t#quit | count\nip protocol summary\n# the end");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, SUMMARY);
  EXPECT_EQ(Run({}, "vrf 10 # no comment\n").status, 2) << "only a whole line is one";
  EXPECT_EQ(Run({"#"}).status, 2) << "a command is no script";
  ExpectHealthyDaemon();
}

TEST_F(Client, SaysWhenNobodyListens) {
  const Result nobody = Run({"help"});
  EXPECT_EQ(nobody.status, 3);
  EXPECT_EQ(nobody.errors, "vantacorectl: " + path + ": No such file or directory\n");
  StartDaemon();
  const auto client = Open(DaemonProcess::TERMINAL);
  client->ReadUntil("> ");
  daemon->Kill(SIGKILL);
  daemon->Wait();
  client->Send("help\n");
  EXPECT_EQ(client->Wait(), 3);
  EXPECT_THAT(client->Output(), HasSubstr("the daemon has gone"));
  EXPECT_EQ(Run({"help"}).status, 3) << "what a killed daemon leaves is nobody";
}

TEST_F(Client, SaysWhenTheDaemonGivesNoSign) {
  StartDaemon();
  Run({"lab", "stack", "hold"});
  const Result result = Run({"--timeout", "1", "rtm", "rib"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.errors, "vantacorectl: the daemon gives no sign\n");
  Run({"lab", "stack", "release"});
  ExpectHealthyDaemon();
}

TEST_F(Client, StopsPrintingWhenInterrupted) {
  StartDaemon();
  Run({"lab", "stack", "hold"});
  const auto atPrompt = Open(DaemonProcess::TERMINAL);
  atPrompt->ReadUntil("vantacore[10]> ");
  atPrompt->Send("rtm rib\n");
  EXPECT_THAT(atPrompt->ReadUntil("rtm rib\n"), Not(HasSubstr("End of table")));
  atPrompt->AwaitCommandUnderWay();
  atPrompt->Send("\x03");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), Not(HasSubstr("End of table")));
  // The walk ends silently.
  atPrompt->Send("lab stack release\n");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), Not(HasSubstr("End of table")));
  atPrompt->Send("rtm rib\n");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), HasSubstr("End of table"));
  ExpectHealthyDaemon();
}

TEST_F(Client, EndsAsInterruptedWhenTheCommandOfItsCommandLineIs) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"rtm", "rib"});
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  const std::string command = wire::EncodeSingle() + wire::EncodeCommand("rtm rib");
  EXPECT_EQ(slow.Read(command.size()), command);
  slow.Send(wire::EncodeOutput("a route\n"));
  client->ReadUntil("a route\n");  // it waits for more now
  client->Kill(SIGINT);
  EXPECT_EQ(slow.Read(wire::EncodeInterrupt().size()), wire::EncodeInterrupt());
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(client->Wait(), -SIGINT);
  EXPECT_EQ(client->Output(), "a route\n");
}

TEST_F(Client, SendsNoCommandThatWasInterruptedBeforeTheDaemonWasReady) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"reload"});
  slow.Accept();
  slow.Send(wire::EncodeOutput("starting\n"));
  client->ReadUntil("starting\n");  // it waits now
  client->Kill(SIGINT);
  EXPECT_EQ(slow.Read(wire::EncodeInterrupt().size()), wire::EncodeInterrupt());
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(slow.Read(100), "");
  EXPECT_EQ(client->Wait(), -SIGINT);
}

TEST_F(Client, SaysThatItsOutputIsLost) {
  StartDaemon();
  const std::string full = system_test::WithStreams(">/dev/full", VANTACORECTL_COMMAND);
  const Result lost = RunDaemon(With({"help"}), "", full);
  EXPECT_EQ(lost.status, 1);
  EXPECT_EQ(lost.errors, "vantacorectl: standard output cannot be written\n");
  EXPECT_EQ(RunDaemon(With({"foo"}), "", full).status, 2);
  ExpectHealthyDaemon();
}

TEST_F(Client, SaysThatItsInputCannotBeRead) {
  StartDaemon();
  const Result unread =
      RunDaemon(With({}), "", system_test::WithStreams("</", VANTACORECTL_COMMAND));
  EXPECT_EQ(unread.status, 1);
  EXPECT_EQ(unread.errors, "vantacorectl: standard input cannot be read\n");
  ExpectHealthyDaemon();
}

TEST_F(Client, TellsTheDaemonNothingThatIsForClosedStreams) {
  StartDaemon();
  for (const char* closed : {">&-", "2>&-", ">&- 2>&-"}) {
    const std::string command = system_test::WithStreams(closed, VANTACORECTL_COMMAND);
    EXPECT_EQ(RunDaemon(With({}), "help\nhelp\n", command).status, 0) << closed;
  }
  ExpectHealthyDaemon();
}

}  // namespace
