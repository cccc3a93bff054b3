// Daemons that take nothing from a client: how long it waits, and what it says then.
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "socket_ends.h"

namespace {

using system_test::Client;
using system_test::DaemonProcess;
using system_test::Result;
using system_test::SlowDaemon;

// The replies come before their commands, so the client sends one after another into a full socket.
TEST_F(Client, SaysWhenTheDaemonTakesNoMoreCommands) {
  std::string commands;
  for (int i = 0; i < 1000; ++i) {
    commands += std::string(4000, 'x') + "\n";
  }
  place.Write("commands", commands);
  SlowDaemon slow(path);
  DaemonProcess client(
      With({"--timeout", "1"}), DaemonProcess::PIPES,
      system_test::WithStreams("<" + place.PathOf("commands"), VANTACORECTL_COMMAND));
  slow.Accept();
  std::string replies;
  for (int i = 0; i < 1000; ++i) {
    replies += wire::EncodeReply(wire::Code::DONE, 10);
  }
  slow.Send(replies);
  EXPECT_EQ(client.Wait(), 4);
  EXPECT_EQ(client.Errors(), "vantacorectl: the daemon gives no sign\n");
}

TEST_F(Client, SaysWhenTheDaemonLetsNobodyIn) {
  SlowDaemon slow(path);
  slow.FillQueue();
  const Result result = Run({"--timeout", "1", "help"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.errors, "vantacorectl: " + path + ": Resource temporarily unavailable\n");
}

// The client finds out that it was hung up on when it sends the next command.
TEST_F(Client, ShowsWhatTheDaemonSaidBeforeItHungUp) {
  const auto slow = std::make_unique<SlowDaemon>(path);
  const auto client = Open(DaemonProcess::PIPES);
  slow->Accept();
  slow->Send(wire::EncodeReply(wire::Code::DONE, 10) + wire::EncodeOutput("farewell\n") +
             wire::EncodeReply(wire::Code::REFUSED, 10, true));
  slow->HangUp();
  client->Send("help\n");
  EXPECT_EQ(client->Wait(), 1);
  EXPECT_EQ(client->Output(), "farewell\n");
  EXPECT_EQ(client->Errors(), "");
}

// The wait that an interrupt has ended is not taken for the cause.
TEST_F(Client, SaysThatTheDaemonHasGoneAfterAnInterrupt) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"--timeout", "60", "rtm", "rib"});
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10) + wire::EncodeOutput("a route\n"));
  const std::string command = wire::EncodeSingle() + wire::EncodeCommand("rtm rib");
  EXPECT_EQ(slow.Read(command.size()), command);
  client->ReadUntil("a route\n");  // it waits for more now
  client->Kill(SIGINT);
  EXPECT_EQ(slow.Read(wire::EncodeInterrupt().size()), wire::EncodeInterrupt());
  slow.HangUp();
  EXPECT_EQ(client->ReadErrorsUntil("\n"), "vantacorectl: the daemon has gone\n");
  EXPECT_EQ(client->Wait(), -SIGINT);
}

TEST_F(Client, SaysThatAWatchedDaemonHasGoneAfterAnInterrupt) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"--timeout", "1", "watch"});
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10) + wire::EncodeLive() +
            wire::EncodeOutput("a change\n"));
  client->ReadUntil("a change\n");
  client->Kill(SIGINT);
  EXPECT_EQ(client->ReadErrorsUntil("\n"), "vantacorectl: the daemon gives no sign\n");
  EXPECT_EQ(client->Wait(), -SIGINT);
}

TEST_F(Client, ShowsWhatTheDaemonSaidInsteadOfWords) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::TERMINAL);
  slow.Accept();
  slow.Send(wire::EncodeReply(wire::Code::DONE, 10));
  client->ReadUntil("vantacore[10]> ");
  client->Send("ip\t");
  const std::string asked = wire::EncodeCompletion("ip");
  EXPECT_EQ(slow.Read(asked.size()), asked);
  slow.Send(wire::EncodeOutput("ip farewell\n") + wire::EncodeReply(wire::Code::REFUSED, 10, true));
  client->ReadUntil("\nip farewell");
  client->Send("\n");
  EXPECT_EQ(client->Wait(), 1);
}

// Longer than the client waits for a sign of the daemon.
void StaySilent() { usleep(2500000); }

TEST_F(Client, GoesOnWatchingThroughSilence) {
  StartDaemon();
  const auto client = Open(DaemonProcess::PIPES, {"--timeout", "1", "watch", "interface"});
  StaySilent();
  EXPECT_EQ(Run({"lab", "interface", "eth0", "down"}).status, 0);
  client->ReadUntil("eth0");
  StaySilent();
  EXPECT_EQ(Run({"lab", "interface", "eth0", "up"}).status, 0);
  client->ReadUntil("eth0");
  client->Kill(SIGINT);
  EXPECT_EQ(client->Wait(), -SIGINT);
  EXPECT_EQ(client->Errors(), "");
  ExpectHealthyDaemon();
}

TEST_F(Client, GoesOnWatchingThroughSilenceAtItsPrompt) {
  StartDaemon();
  const auto client = Open(DaemonProcess::TERMINAL, {"--timeout", "1"});
  client->ReadUntil("vantacore[10]> ");
  client->Send("watch interface\n");
  client->ReadUntil("watch interface");
  StaySilent();
  EXPECT_EQ(Run({"lab", "interface", "eth0", "down"}).status, 0);
  client->ReadUntil("eth0");
  client->Send("\x03");
  client->ReadUntil("vantacore[10]> ");
  client->Send("quit\n");
  EXPECT_EQ(client->Wait(), 0);
  EXPECT_THAT(client->Output(), testing::Not(testing::HasSubstr("no sign")));
  ExpectHealthyDaemon();
}

}  // namespace
