// Daemons that take nothing from a client: how long it waits, and what it says then.
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

}  // namespace
