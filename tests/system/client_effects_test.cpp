// What a client tells of the effects of a command, and how long it waits for them.
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "signs.h"
#include "socket_ends.h"

namespace {

using system_test::Await;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::RawClient;
using system_test::Result;
using system_test::SlowDaemon;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Clock = std::chrono::steady_clock;

constexpr const char* BAR = "\r\033[K[#####---------------]  25 %, 250 of 1000";

class ClientOfASlowDaemon : public Client {
 protected:
  // Until it waits for the reply to `reload`.
  void Begin(DaemonProcess::Streams streams, const system_test::Arguments& options = {}) {
    system_test::Arguments words = options;
    words.emplace_back("reload");
    client = Open(streams, words);
    slow.Accept();
    slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  }
  void ExpectSent(const std::string& bytes) { EXPECT_EQ(slow.Read(bytes.size()), bytes); }

  SlowDaemon slow{path};
  std::unique_ptr<DaemonProcess> client;
};

TEST_F(ClientOfASlowDaemon, ShowsTheProgressOnATerminal) {
  Begin(DaemonProcess::TERMINAL);
  slow.Send(wire::EncodeProgress(250, 1000));
  client->ReadUntil(BAR);
  slow.Send(wire::EncodeOutput("a finding\n"));
  EXPECT_EQ(client->ReadUntil("a finding\r\n"), "\r\033[Ka finding\r\n");
  slow.Send(wire::EncodeProgress(1000, 1000));
  client->ReadUntil("100 %, 1000 of 1000");
  slow.Send(wire::EncodeReply(wire::Code::DIFFERS, 10));
  EXPECT_EQ(client->Wait(), 5);
  EXPECT_THAT(client->Output(), EndsWith("100 %, 1000 of 1000\r\033[K"));
}

TEST_F(ClientOfASlowDaemon, ShowsNoBarOfNothing) {
  Begin(DaemonProcess::TERMINAL);
  slow.Send(wire::EncodeProgress(0, 0) + wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(client->Wait(), 0);
  EXPECT_EQ(client->Output(), "");
}

TEST_F(ClientOfASlowDaemon, ShowsNoProgressInAPipe) {
  Begin(DaemonProcess::PIPES);
  slow.Send(wire::EncodeProgress(250, 1000) + wire::EncodeOutput("a finding\n") +
            wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(client->Wait(), 0);
  EXPECT_EQ(client->Output(), "a finding\n");
  EXPECT_EQ(client->Errors(), "");
}

TEST_F(ClientOfASlowDaemon, TakesItsBarAwayBeforeItComplains) {
  Begin(DaemonProcess::TERMINAL);
  slow.Send(wire::EncodeProgress(250, 1000));
  client->ReadUntil(BAR);
  slow.HangUp();
  EXPECT_EQ(client->Wait(), 3);
  EXPECT_THAT(client->Output(),
              EndsWith(std::string(BAR) + "\r\033[Kvantacorectl: the daemon has gone\r\n"));
}

TEST_F(ClientOfASlowDaemon, TakesProgressForASignOfTheDaemon) {
  Begin(DaemonProcess::PIPES, {"--timeout", "1"});
  for (int i = 0; i < 4; ++i) {
    usleep(500000);
    slow.Send(wire::EncodeProgress(10, 1000));  // the same again
  }
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(client->Wait(), 0);
}

TEST_F(ClientOfASlowDaemon, SaysBeforehandWhatItsCommandIs) {
  Begin(DaemonProcess::PIPES, {"--no-wait"});
  ExpectSent("N\nS\nC reload\n");
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  EXPECT_EQ(client->Wait(), 0);
}

TEST_F(ClientOfASlowDaemon, SaysOnceThatItWillNotWait) {
  client = Open(DaemonProcess::PIPES, {"--no-wait"});
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  client->Send("vrf 10\nvrf 20\n");
  ExpectSent("N\nC vrf 10\n");
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  ExpectSent("C vrf 20\n");
  slow.Send(wire::EncodeReply(wire::Code::DONE, 20));
  client->CloseInput();
  EXPECT_EQ(client->Wait(), 0);
}

// The daemon of the other tests. Its documents have VLANs 10 and 20.
class ClientOfADaemon : public Client {
 protected:
  static std::string WithRoute(const std::string& more = {}) {
    return R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RIPV2": {"enabled": true}, "STATIC_ROUTES": {"r": {
        "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})" +
           more + "}}";
  }
  static constexpr const char* VLAN_20 = R"(, "b": {"vid": 20})";
};

TEST_F(ClientOfADaemon, NeedNotWaitForTheEffect) {
  StartDaemon();
  EXPECT_EQ(Run({"lab", "stack", "hold"}).status, 0);
  folder.Write("vlans.json", WithRoute(VLAN_20));
  const auto begin = Clock::now();
  EXPECT_EQ(Run({"--no-wait", "reload"}).status, 0);
  EXPECT_EQ(Run({"--no-wait", "lab", "interface", "eth0", "down"}).status, 0);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(4));
  const Result verification = Run({"verify"});
  EXPECT_EQ(verification.status, 1);
  EXPECT_THAT(verification.output, HasSubstr("under way since"));
  EXPECT_EQ(Run({"lab", "stack", "release"}).status, 0);
  EXPECT_EQ(Run({"lab", "interface", "eth0", "up"}).status, 0);
  EXPECT_EQ(Run({"verify"}).status, 0);
  EXPECT_THAT(Run({"rtm", "route"}).output, HasSubstr("10.9.0.0/16"));
  folder.Write("vlans.json", "{");
  EXPECT_EQ(Run({"--no-wait", "reload"}).status, 1);
}

TEST_F(ClientOfADaemon, IsToldWhatTheStackDoesNotHave) {
  StartDaemon();
  EXPECT_EQ(Run({"lab", "stack", "refuse", "route", "1", "times"}).status, 0);
  folder.Write("vlans.json", WithRoute(VLAN_20));
  const Result reload = Run({"reload"});
  EXPECT_EQ(reload.status, 5);
  EXPECT_THAT(reload.output, StartsWith("Revision 2, reload by "));
  EXPECT_THAT(reload.output, HasSubstr("\nVLAN 10: route 10.9.0.0/16 via 10.1.2.1 "));
  EXPECT_THAT(reload.output, EndsWith("\n1 row is not as wanted\n"));
  EXPECT_EQ(Run({"verify"}).status, 1);
  // It is asked for again.
  Await("the route", [this] { return Run({"verify"}).status == 0; });
  EXPECT_THAT(Run({"rtm", "route"}).output, HasSubstr("10.9.0.0/16"));
  EXPECT_EQ(Run({"reload"}).status, 0);
}

TEST_F(ClientOfADaemon, VerifiesTheFolderAsWell) {
  StartDaemon();
  const Result asApplied = Run({"verify"});
  EXPECT_EQ(asApplied.status, 0);
  EXPECT_THAT(asApplied.output, StartsWith("PASS  folder: says what is in force"));
  EXPECT_THAT(asApplied.output, HasSubstr("\nPASS  wanted and asked: the same\n"));
  EXPECT_THAT(asApplied.output, HasSubstr("\nPASS  requests: none is under way\n"));
  folder.Write("vlans.json", WithRoute(VLAN_20));
  const Result changed = Run({"verify"});
  EXPECT_EQ(changed.status, 1);
  EXPECT_THAT(changed.output, HasSubstr("\nFAIL  folder: "));
  EXPECT_THAT(changed.output, HasSubstr(" not applied since what is in force"));
  EXPECT_THAT(changed.output, HasSubstr(" rows as wanted; failed besides: folder\n"));
  const Result stack = Run({"verify", "stack"});
  EXPECT_EQ(stack.status, 0);
  EXPECT_THAT(stack.output, StartsWith("PASS  instances: "));
  EXPECT_THAT(stack.output, Not(HasSubstr("requests")));
  EXPECT_EQ(
      Run({"verify", "kernel"}).output,
      "PASS  kernel: nothing of it is taken, and nothing is written\nPASS: 0 rows as wanted\n");
  EXPECT_EQ(Run({"reload"}).status, 0);
  EXPECT_EQ(Run({"verify"}).status, 0);
  folder.Write("vlans.json", "{");
  const Result spoilt = Run({"verify"});
  EXPECT_EQ(spoilt.status, 1);
  EXPECT_THAT(spoilt.output, HasSubstr("\nFAIL  folder: it cannot be applied, 1 error (`check` "
                                       "lists all): vlans.json:1:"));
}

TEST_F(ClientOfADaemon, SeesAVlanGoWhileOthersPrintTables) {
  folder.Write("vlans.json", WithRoute(VLAN_20));
  StartDaemon("1000");
  std::atomic<bool> isOver{false};
  std::thread prints([this, &isOver] {
    RawClient other(path);
    other.ReadReply();
    while (!isOver) {
      other.Send("C rtm rib\n");
      EXPECT_THAT(other.Read().first, EndsWith("End of table\n"));
      usleep(250000);
    }
  });
  usleep(300000);
  folder.Write("vlans.json", WithRoute());
  const auto begin = Clock::now();
  EXPECT_EQ(Run({"reload"}).status, 0);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
  EXPECT_THAT(Run({"ip", "protocol", "summary"}).output, Not(HasSubstr("    20 ")));
  EXPECT_EQ(Run({"vrf", "20"}).output, "VLAN 20 is not present\n");
  isOver = true;
  prints.join();
}

// At the daemon's own prompt the bar stands beside the time.
TEST_F(ClientOfADaemon, IsNotNeededToSeeHowFarThingsHaveCome) {
  folder.Write("vlans.json", WithRoutes(5000));
  DaemonProcess own({"--config", folder.Path(), "--tick-us", "1000", "--lab"},
                    DaemonProcess::TERMINAL);
  own.ReadUntil("vantacore[10]> ");
  own.Send("lab interface eth0 up\n");
  own.ReadUntil("\r\033[Kworking for 1 s [");
  EXPECT_THAT(own.ReadUntil("; Ctrl-C stops waiting"), HasSubstr(" %, "));
  own.Send("\x03");
  own.ReadUntil("vantacore[10]> ");
  // The next command has a bar of its own, or none.
  own.Send("lab stack hold\n");
  own.ReadUntil("vantacore[10]> ");
  own.Send("rtm rib\n");
  own.ReadUntil("\r\033[Kworking for 1 s; Ctrl-C stops the output");
  own.Send("\x03");
  own.ReadUntil("vantacore[10]> ");
  own.Send("quit\n");
  EXPECT_EQ(own.Wait(), 0);
}

TEST_F(ClientOfADaemon, IsNotNeededToLearnInAPipeWhatTheStackDoesNotHave) {
  DaemonProcess own({"--config", folder.Path(), "--tick-us", "100", "--lab"}, DaemonProcess::PIPES);
  own.Send("lab stack refuse route 1 times\nretry\n");
  own.ReadUntil("Nothing differs\n");
  folder.Write("vlans.json", WithRoute(VLAN_20));
  own.Send("reload\n");
  own.ReadUntil("\n1 row is not as wanted\n");
  own.CloseInput();
  EXPECT_EQ(own.Wait(), 5);
}

}  // namespace
