// Several sessions at the daemon's socket at once, and clients that do not behave.
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <vector>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "signs.h"
#include "socket_ends.h"

namespace {

using system_test::Await;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::IsAsleep;
using system_test::KEEPS_FREED_MEMORY;
using system_test::ProcessorSeconds;
using system_test::RawClient;
using system_test::ResidentKilobytes;
using system_test::Result;
using testing::EndsWith;
using testing::HasSubstr;

TEST_F(Client, HearsNothingOfAReloadThatItNoLongerWaitsFor) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {"r": {
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}}, "b": {"vid": 20}}})");
  StartDaemon();
  ASSERT_EQ(Run({"lab", "interface", "eth0", "up"}).status, 0);  // the route is in the stack
  RawClient client(path);
  ASSERT_TRUE(client.ReadReply());
  client.Send("C lab stack hold\n");
  ASSERT_TRUE(client.ReadReply());

  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20}}})");
  client.Send("C reload force\nI\n");
  const auto reply = client.ReadReply();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::TIMED_OUT);
  EXPECT_EQ(Run({"lab", "stack", "release"}).status, 0);
  Await("the VLAN's end", [this] { return Run({"vrf", "10"}).status == 1; });
  client.Send("C vrf 20\n");
  EXPECT_EQ(client.Read().first, "");
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Client, IsToldWhichWordsMayStandAtTheEndOfALine) {
  StartDaemon();
  RawClient client(path);
  EXPECT_TRUE(client.ReadReply());
  const auto complete = [&client](const std::string& begun) {
    client.Send(wire::EncodeCompletion(begun));
    const auto [words, reply] = client.Read();
    EXPECT_TRUE(reply && reply->code == wire::Code::DONE && !reply->isLast);
    return words;
  };
  EXPECT_EQ(complete("i"), "interface\ninterface6\nip\nip6\n");
  EXPECT_EQ(complete("ip "), "bgp\nigmp\nospf\nprotocol\nrip\n");
  EXPECT_EQ(complete("show  ip6 pro"), "protocol\n");
  EXPECT_EQ(complete("nothing "), "");
  EXPECT_THAT(complete(""), HasSubstr("reload\n"));
  // It waits for the output of a command like the next command does.
  client.Send("C vrf 20\n" + wire::EncodeCompletion("rtm "));
  EXPECT_EQ(client.ReadReply()->vlan, 20);
  EXPECT_EQ(client.Read().first, "route\nrib\n");
  ExpectHealthyDaemon();
}

TEST_F(Client, IsToldThatACommandStandsWhoseEffectIsLate) {
  StartDaemon();
  RawClient client(path);
  EXPECT_TRUE(client.ReadReply());
  client.Send("C lab stack hold\n");
  EXPECT_EQ(client.ReadReply()->code, wire::Code::DONE);
  client.Send("C lab interface eth0 down\n");
  const auto [text, reply] = client.Read();
  EXPECT_EQ(text, "The command stands; its requests are still under way\n");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::TIMED_OUT);
  client.Send("C lab stack release\n");
  EXPECT_TRUE(client.ReadReply());
  client.Send("C interface vrf 10\n");
  EXPECT_THAT(client.Read().first, HasSubstr("eth0   DOWN"));
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_EQ(daemon->Errors(), "Requests are still under way after 5 s; going on\n");
}

TEST_F(Client, SharesTheDaemonWithOthers) {
  StartDaemon();
  const auto first = Open(DaemonProcess::TERMINAL);
  const auto second = Open(DaemonProcess::TERMINAL);
  first->ReadUntil("vantacore[10]> ");
  second->ReadUntil("vantacore[10]> ");
  first->Send("vrf 20\n");
  first->ReadUntil("vantacore[20]> ");
  second->Send("vrf 10\n");
  second->ReadUntil("vantacore[10]> ");
  // A walk that goes on keeps nobody else waiting.
  first->Send("lab stack hold\n");
  first->ReadUntil("vantacore[20]> ");
  first->Send("rtm rib vrf 10\n");
  first->ReadUntil("rtm rib vrf 10\n");
  first->AwaitCommandUnderWay();
  second->Send("ip protocol summary\n");
  EXPECT_THAT(second->ReadUntil("vantacore[10]> "), HasSubstr("    20     No     No     No"));
  second->Send("lab stack release\n");
  second->ReadUntil("vantacore[10]> ");
  EXPECT_THAT(first->ReadUntil("vantacore[20]> "), HasSubstr("End of table"));
  ExpectHealthyDaemon();
}

TEST_F(Client, WaitsForAReloadWhileAnotherDoesToo) {
  StartDaemon();
  RawClient first(path);
  RawClient second(path);
  ASSERT_TRUE(first.ReadReply());
  ASSERT_TRUE(second.ReadReply());
  first.Send("C reload\n");
  second.Send("C reload\n");
  for (RawClient* client : {&first, &second}) {
    const auto reply = client->ReadReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->code, wire::Code::DONE);
  }
  ExpectHealthyDaemon();
}

TEST_F(Client, MayHangUpInTheMiddleOfAWalk) {
  StartDaemon();
  {
    RawClient client(path);
    ASSERT_TRUE(client.ReadReply());
    client.Send("C lab stack hold\n");
    ASSERT_TRUE(client.ReadReply());
    client.Send("C rtm rib\n");
    RawClient killed(path);
    ASSERT_TRUE(killed.ReadReply());
    killed.Send("C ip protocol database vrf 10\nC rtm rib\n");
    EXPECT_EQ(Run({"help"}).status, 0);  // by now both walks have begun
  }
  EXPECT_EQ(Run({"lab", "stack", "release"}).status, 0);
  EXPECT_THAT(Run({"rtm", "rib"}).output, EndsWith("End of table\n"));
  ExpectHealthyDaemon();
}

TEST_F(Client, MayLeaveTheDaemonToEndWithItsWalk) {
  StartDaemon();
  RawClient client(path);
  ASSERT_TRUE(client.ReadReply());
  client.Send("C lab stack hold\n");
  ASSERT_TRUE(client.ReadReply());
  client.Send("C rtm rib\n");
  ExpectHealthyDaemon();
  EXPECT_FALSE(client.ReadReply());
}

// Its walk is held meanwhile: nothing is cut, and the daemon keeps little of it.
TEST_F(Client, MayReadNothingForAWhile) {
  folder.Write("vlans.json", WithRoutes(70000));
  StartDaemon("10");
  for (int i = 0; i < 20 && Run({"lab", "stack", "release"}).status == 4; ++i) {
  }
  const long before = ResidentKilobytes(daemon->Id());
  RawClient slow(path);
  ASSERT_TRUE(slow.ReadReply());
  slow.Send("C rtm rib ipv6\nC vrf 10\n");
  RawClient other(path);
  ASSERT_TRUE(other.ReadReply());
  other.Send("C ip6 protocol summary\n");
  EXPECT_THAT(other.Read().first, HasSubstr("    10     No     No     No     No\n"));
  // The same table for somebody who reads it. The slow one's part has waited for its reader since
  // long.
  other.Send("C rtm rib ipv6\n");
  const auto [whole, done] = other.Read();
  ASSERT_TRUE(done);
  EXPECT_THAT(whole, EndsWith("End of table\n"));
  EXPECT_GT(whole.size(), 9000000u);
  if (!KEEPS_FREED_MEMORY) {
    EXPECT_LT(ResidentKilobytes(daemon->Id()) - before, 6000);
  }
  const auto [text, reply] = slow.Read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::DONE);
  EXPECT_EQ(text.size(), whole.size());
  EXPECT_THAT(text, EndsWith("End of table\n"));
  const auto [nothing, next] = slow.Read();
  ASSERT_TRUE(next);
  EXPECT_EQ(nothing, "");
  EXPECT_EQ(next->code, wire::Code::DONE);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

// Twenty tables for nobody would take seconds; all of them end at once.
TEST_F(Client, CostsNothingWhenItHasGone) {
  folder.Write("vlans.json", WithRoutes(70000));
  StartDaemon("10");
  for (int i = 0; i < 20 && Run({"lab", "stack", "release"}).status == 4; ++i) {
  }
  const auto Measure = [this] {
    const double begin = ProcessorSeconds(daemon->Id());
    RawClient last(path);
    last.Send("C rtm rib ipv6\n");
    last.Read();  // what comes with the greeting
    EXPECT_THAT(last.Read().first, EndsWith("End of table\n"));
    return ProcessorSeconds(daemon->Id()) - begin;
  };
  const double one = Measure();
  std::vector<std::unique_ptr<RawClient>> gone;
  for (int i = 0; i < 20; ++i) {
    gone.push_back(std::make_unique<RawClient>(path));
    gone.back()->Send("C rtm rib ipv6\n");
  }
  EXPECT_EQ(Run({"help"}).status, 0);  // by now all of them have begun
  gone.clear();
  EXPECT_LT(Measure(), 5 * one);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

// A stack that is held answers nobody.
TEST_F(Client, HoldsTheStackForAsLongAsItsSessionLasts) {
  StartDaemon();
  std::unique_ptr<DaemonProcess> waits;
  {
    RawClient client(path);
    ASSERT_TRUE(client.ReadReply());
    client.Send("C lab stack hold\nC vrf 10\n");
    ASSERT_TRUE(client.ReadReply());
    ASSERT_TRUE(client.ReadReply());
    waits = Open(DaemonProcess::PIPES, {"rtm", "rib"});
    usleep(100000);
    EXPECT_EQ(Run({}, "vrf 10\n").status, 0) << "another session's end releases nothing";
    EXPECT_TRUE(IsAsleep(waits->Id())) << "it waits for the table";
  }
  EXPECT_EQ(waits->Wait(), 0);
  EXPECT_THAT(waits->Output(), EndsWith("End of table\n"));
  EXPECT_EQ(Run({}, "lab stack hold\n").status, 0);
  EXPECT_THAT(Run({"rtm", "rib"}).output, EndsWith("End of table\n"));
  ExpectHealthyDaemon();
}

TEST_F(Client, HoldsTheStackForOthersByItsOneCommand) {
  StartDaemon();
  EXPECT_EQ(Run({"lab", "stack", "hold"}).status, 0);
  const auto waits = Open(DaemonProcess::PIPES, {"rtm", "rib"});
  usleep(100000);
  EXPECT_EQ(Run({}, "vrf 10\n").status, 0) << "another session's end releases nothing";
  EXPECT_TRUE(IsAsleep(waits->Id())) << "it waits for the table";
  EXPECT_EQ(Run({"lab", "stack", "release"}).status, 0);
  EXPECT_EQ(waits->Wait(), 0);
  EXPECT_THAT(waits->Output(), EndsWith("End of table\n"));
  ExpectHealthyDaemon();
}

TEST_F(Client, GetsItsReplyAtOnceWhenItInterrupts) {
  StartDaemon();
  RawClient client(path);
  ASSERT_TRUE(client.ReadReply());
  client.Send("I\nC lab stack hold\n");  // there is nothing to interrupt yet
  ASSERT_TRUE(client.ReadReply());
  client.Send("C rtm rib\nI\n");
  const auto [text, reply] = client.Read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(text, "");
  EXPECT_EQ(reply->code, wire::Code::DONE);
  client.Send("C lab stack release\nC rtm rib\n");
  EXPECT_EQ(client.Read().first, "");
  EXPECT_THAT(client.Read().first, EndsWith("End of table\n"));
  ExpectHealthyDaemon();
}

TEST_F(Client, WaitsNoLongerForAnEffectWhenItInterrupts) {
  StartDaemon();
  RawClient client(path);
  ASSERT_TRUE(client.ReadReply());
  client.Send("C lab stack hold\n");
  ASSERT_TRUE(client.ReadReply());
  client.Send("C lab interface eth0 down\nI\n");
  const auto [text, reply] = client.Read();
  EXPECT_EQ(text, "The command stands; its requests are still under way\n");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::TIMED_OUT);
  client.Send("I\nC lab stack release\n");
  EXPECT_EQ(client.ReadReply()->code, wire::Code::DONE);
  ExpectHealthyDaemon();  // it has not logged that five seconds went by
}

TEST_F(Client, IsLeftWhenItSpeaksAnotherLanguage) {
  StartDaemon();
  for (const std::string& bytes :
       {std::string("GET / HTTP/1.0\n\n"), std::string(100000, 'x'), std::string("\0\n", 2)}) {
    RawClient client(path);
    ASSERT_TRUE(client.ReadReply());
    client.Send(bytes);
    const auto [text, reply] = client.Read();
    if (reply) {  // it may be cut off by what the daemon never read
      EXPECT_EQ(text, "That is no message of a console client\n");
      EXPECT_EQ(reply->code, wire::Code::REFUSED);
      EXPECT_TRUE(reply->isLast);
      EXPECT_FALSE(client.ReadReply());
    }
    EXPECT_TRUE(client.HasEnded()) << "the daemon goes on listening to it";
  }
  ExpectHealthyDaemon();
}

TEST_F(Client, MaySendCommandsAhead) {
  StartDaemon();
  RawClient client(path);
  ASSERT_TRUE(client.ReadReply());
  std::string bytes;
  for (int i = 0; i < 2000; ++i) {
    bytes += "C vrf 20\nC vrf 10\n";
  }
  client.Send(bytes);
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(client.ReadReply()->vlan, 20);
    ASSERT_EQ(client.ReadReply()->vlan, 10);
  }
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsOnlySoManySessions) {
  StartDaemon();
  std::vector<std::unique_ptr<RawClient>> clients;
  const int places = 64 + (geteuid() == 0 ? 1 : 0);  // one more is kept for root
  for (int i = 0; i < places; ++i) {
    clients.push_back(std::make_unique<RawClient>(path));
    ASSERT_TRUE(clients.back()->ReadReply());
  }
  const Result result = Run({"help"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "There are 64 sessions already\n");
  clients.clear();
  // The next one may come in before the daemon has seen all of them go.
  system_test::Await("a session that is free", [this] { return Run({"help"}).status == 0; });
  ExpectHealthyDaemon();
}

}  // namespace
