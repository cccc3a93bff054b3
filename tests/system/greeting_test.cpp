// Client and daemon tell each other which version of their protocol they speak.
#include "client_fixture.h"
#include "device/wire/wire.h"
#include "socket_ends.h"

namespace {

using system_test::Client;
using system_test::DaemonProcess;
using system_test::RawClient;
using system_test::SlowDaemon;

class Greeting : public Client {
 protected:
  void ExpectRefusal(const std::string& beginning, const std::string& words) {
    unlink(path.c_str());
    SlowDaemon daemonOfAnotherTime(path);
    const auto client = Open(DaemonProcess::PIPES, {"reload"});
    daemonOfAnotherTime.AcceptUngreeted();
    daemonOfAnotherTime.Send(beginning);
    EXPECT_EQ(client->Wait(), 1);
    EXPECT_EQ(client->Output(), "");
    EXPECT_EQ(client->Errors(), "vantacorectl: " + words + "\n");
    EXPECT_EQ(daemonOfAnotherTime.Read(1000), "V 3\n") << "a command was sent all the same";
  }

  void ExpectRefused(const std::string& beginning, const std::string& words) const {
    RawClient client(path, beginning);
    const auto [text, reply] = client.Read();
    EXPECT_EQ(text, words + "\n");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->code, wire::Code::REFUSED);
    EXPECT_TRUE(reply->isLast);
    EXPECT_FALSE(client.ReadReply());
    EXPECT_TRUE(client.HasEnded());
  }
};

TEST_F(Greeting, OfADaemonIsOneThatTheClientKnows) {
  ExpectRefusal("V 4\nR 0 10\n",
                "the daemon speaks version 4 of the console protocol; this client knows version 3");
  ExpectRefusal("V 0\nO welcome\nR 0 10\n",
                "the daemon speaks version 0 of the console protocol; this client knows version 3");
}

TEST_F(Greeting, OfADaemonIsMissedByTheClient) {
  ExpectRefusal("R 0 10\n",
                "the daemon does not say which version of the console protocol it speaks; this "
                "client knows version 3");
}

TEST_F(Greeting, OfADaemonThatRefusesAnywayIsNotMissed) {
  SlowDaemon full(path);
  const auto client = Open(DaemonProcess::PIPES, {"help"});
  full.AcceptUngreeted();
  full.Send("O There are too many\nQ 1 10\n");
  EXPECT_EQ(client->Wait(), 1);
  EXPECT_EQ(client->Output(), "There are too many\n");
  EXPECT_EQ(client->Errors(), "");
}

TEST_F(Greeting, IsNotACommandThatIsDone) {
  SlowDaemon leaving(path);
  const auto client = Open(DaemonProcess::PIPES, {"help"});
  leaving.AcceptUngreeted();
  leaving.Send("Q 0 10\n");
  EXPECT_EQ(client->Wait(), 1) << "the command was never taken";
}

TEST_F(Greeting, OfAClientIsOneThatTheDaemonKnows) {
  StartDaemon();
  ExpectRefused(
      "V 7\nC help\nI\n",
      "The client speaks version 7 of the console protocol; the daemon knows versions 1 to 3");
  ExpectHealthyDaemon();
}

TEST_F(Greeting, OfAClientIsMissedByTheDaemon) {
  StartDaemon();
  for (const char* first : {"C help\n", "I\n", "W he\n", "R 0 10\n"}) {
    ExpectRefused(first,
                  "The client does not say which version of the console protocol it speaks; the "
                  "daemon knows versions 1 to 3");
  }
  ExpectRefused("HELO\n", "That is no message of a console client");
  ExpectHealthyDaemon();
}

}  // namespace
