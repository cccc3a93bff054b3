// What the client shows of what a daemon sends: text, and nothing that a terminal would obey.
#include <gmock/gmock.h>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "socket_ends.h"

namespace {

using system_test::Client;
using system_test::DaemonProcess;
using system_test::SlowDaemon;
using testing::HasSubstr;
using testing::Not;

const std::string READY = wire::EncodeReply(wire::Code::DONE, 10);

TEST_F(Client, ShowsNothingThatATerminalWouldObey) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"help"});
  slow.Accept();
  slow.Send(READY + wire::EncodeOutput(std::string("a\tb\x1b[2Jc\rd\x7f\0e\n", 14)) +
            wire::EncodeOutput("\xc2\x9b"
                               "1m\x9b \xc3\xa9 \xe2\x82\xac \xff\n") +
            READY);
  EXPECT_EQ(client->Wait(), 0);
  EXPECT_EQ(client->Output(),
            "a\tb\\x1b[2Jc\\x0dd\\x7f\\x00e\n"
            "\\xc2\\x9b"
            "1m\\x9b \xc3\xa9 \xe2\x82\xac \\xff\n");
}

TEST_F(Client, ShowsCharactersWholeThatCameInPieces) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::PIPES, {"help"});
  slow.Accept();
  std::string pieces;
  for (const char* piece : {"\xc3", "\xa9 \xe2", "\x82", "\xac \xf0\x9f\x98", "\x80 \xe2\x82",
                            "a\n", "\xc3\xa9", "\xf0\x9f"}) {
    pieces += wire::EncodeOutput(piece);
  }
  slow.Send(READY + pieces + READY);
  EXPECT_EQ(client->Wait(), 0);
  EXPECT_EQ(client->Output(),
            "\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80 \\xe2\\x82"
            "a\n\xc3\xa9\\xf0\\x9f");
}

TEST_F(Client, ShowsNoWordsThatATerminalWouldObey) {
  SlowDaemon slow(path);
  const auto client = Open(DaemonProcess::TERMINAL);
  slow.Accept();
  slow.Send(READY);
  client->ReadUntil("vantacore[10]> ");
  client->Send("ip\t");
  const std::string asked = wire::EncodeCompletion("ip");
  EXPECT_EQ(slow.Read(asked.size()), asked);
  slow.Send(wire::EncodeOutput("ip\x1b]0;one\x07\nip\x1b]0;two\x07\n") + READY);
  const std::string shown = client->ReadUntil("two\\x07");
  EXPECT_THAT(shown, HasSubstr("ip\\x1b]0;one\\x07"));
  EXPECT_THAT(shown, Not(HasSubstr("\x1b]0;")));
}

}  // namespace
