// The daemon's socket and its client: several sessions at once, and clients that do not behave.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "daemon_process.h"
#include "device/wire/wire.h"
#include "shown.h"
#include "tests/support/scratch_folder.h"

namespace {

using system_test::Arguments;
using system_test::DaemonProcess;
using system_test::Result;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* SUMMARY =
    "   VID  BGP4+ OSPFv2  RIPv2   IGMP\n"
    "    10     No     No    Yes     No\n"
    "    20     No     No     No     No\n";

// A VLAN with this many routes.
std::string WithRoutes(int count) {
  std::string routes;
  for (int i = 0; i < count; ++i) {
    char route[128];
    std::snprintf(
        route, sizeof route,
        R"(%s"r%d": {"network": "2001:db8:%x:%x::", "prefix": "64", "gateway": "fe80::1"})",
        i == 0 ? "" : ",\n", i, 0x100 + i / 256, i % 256);
    routes += route;
  }
  return R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES6": {)" + routes + "}}}}";
}

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

// Nothing that is waited for comes after half a minute.
void LimitReceiving(int fd) {
  const timeval limit{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void SendAll(int fd, const std::string& bytes) {
  EXPECT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

// A daemon that a test plays itself: it keeps its only client waiting until it is told to answer.
class SlowDaemon {
 public:
  explicit SlowDaemon(const std::string& path) : m_listener(socket(AF_UNIX, SOCK_STREAM, 0)) {
    const sockaddr_un address = AddressOf(path);
    EXPECT_EQ(bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(m_listener, 1), 0);
  }
  SlowDaemon(const SlowDaemon&) = delete;
  SlowDaemon& operator=(const SlowDaemon&) = delete;
  ~SlowDaemon() {
    close(m_client);
    close(m_listener);
  }

  void Accept() {
    m_client = accept(m_listener, nullptr, nullptr);
    LimitReceiving(m_client);
  }
  void Send(const std::string& bytes) { SendAll(m_client, bytes); }
  // What the client has sent up to some size, or up to its end if that comes first.
  std::string Read(std::size_t size) {
    std::string bytes(size, '\0');
    const ssize_t count = recv(m_client, &bytes[0], size, MSG_WAITALL);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }

 private:
  int m_listener;
  int m_client = -1;
};

// A client that a test plays itself, to do what the real one does not.
class RawClient {
 public:
  explicit RawClient(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
    const sockaddr_un address = AddressOf(path);
    EXPECT_EQ(connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    LimitReceiving(m_fd);
  }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;
  ~RawClient() { close(m_fd); }

  void Send(const std::string& bytes) { SendAll(m_fd, bytes); }
  // What comes up to the next reply, and the reply.
  std::pair<std::string, std::optional<wire::Message>> Read() {
    std::string text;
    for (;;) {
      while (auto message = m_decoder.Next()) {
        if (message->kind == wire::Message::REPLY) {
          return {text, message};
        }
        text += message->text;
      }
      char bytes[65536];
      const ssize_t count = recv(m_fd, bytes, sizeof bytes, 0);
      if (count <= 0) {
        m_hasEnded = count == 0 || errno == ECONNRESET;
        return {text, std::nullopt};
      }
      m_decoder.Feed(bytes, static_cast<std::size_t>(count));
    }
  }
  std::optional<wire::Message> ReadReply() { return Read().second; }
  // Whether the daemon has hung up, as the last reading found.
  bool HasEnded() const { return m_hasEnded; }

 private:
  int m_fd;
  bool m_hasEnded = false;
  wire::Decoder m_decoder;
};

class Client : public testing::Test {
 protected:
  Client() {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {
      "a": {"vid": 10, "RIPV2": {"enabled": true}}, "b": {"vid": 20}}})");
  }

  void BeginDaemon(const std::string& tick = "100") {
    daemon = std::make_unique<DaemonProcess>(
        Arguments{"--config", folder.Path(), "--tick-us", tick, "--daemon", "--socket", path},
        DaemonProcess::PIPES);
  }
  bool HasSocket() const {
    struct stat found {};
    return stat(path.c_str(), &found) == 0;
  }
  void AwaitSocket() const {
    for (int i = 0; i < 30000 && !HasSocket(); ++i) {
      usleep(1000);
    }
  }
  void StartDaemon(const std::string& tick = "100") {
    BeginDaemon(tick);
    AwaitDaemon();
  }
  void AwaitDaemon() const {
    AwaitSocket();
    RunWhenHeard({"help"});
  }
  Arguments With(const Arguments& more) const {
    Arguments arguments = {"--socket", path};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  Result Run(const Arguments& words, const std::string& input = {}) const {
    return system_test::RunDaemon(With(words), input, VANTACORECTL_COMMAND);
  }
  // The socket is there a moment before somebody listens at it.
  Result RunWhenHeard(const Arguments& words) const {
    Result result = Run(words);
    for (int i = 0; i < 3000 && result.status == 3; ++i) {
      usleep(10000);
      result = Run(words);
    }
    return result;
  }
  std::unique_ptr<DaemonProcess> Open(DaemonProcess::Streams streams,
                                      const Arguments& words = {}) const {
    return std::make_unique<DaemonProcess>(With(words), streams, VANTACORECTL_COMMAND);
  }
  // The daemon still serves, and ends as it should, without a complaint.
  void ExpectHealthyDaemon() {
    EXPECT_EQ(Run({"ip", "protocol", "summary"}).output, SUMMARY);
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
    EXPECT_EQ(daemon->Errors(), "");
    EXPECT_FALSE(HasSocket()) << "the socket has stayed";
  }

  test_support::ScratchFolder folder;
  test_support::ScratchFolder place;
  const std::string path = place.PathOf("console");
  std::unique_ptr<DaemonProcess> daemon;
};

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

// The log is the daemon's, so its complaints come to who asked: the host's own and the library's.
TEST_F(Client, HearsWhatAReloadCannotUse) {
  StartDaemon();
  folder.Write("vlans.json", "{\n  broken");
  folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  const Result broken = Run({"reload"});
  EXPECT_THAT(broken.output, HasSubstr("vlans.json:2:3: "));
  EXPECT_THAT(broken.output, HasSubstr("Loaded Remote remote/far.json Options with VLAN 77 before "
                                       "loading VLAN options... Skipping\n"));
  EXPECT_EQ(broken.status, 1);

  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  const Result mended = Run({"reload"});
  EXPECT_EQ(mended.output, "");
  EXPECT_EQ(mended.status, 0);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_EQ(daemon->Errors(), broken.output);
}

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
  folder.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  client.Send("C reload\nI\n");
  const auto reply = client.ReadReply();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::TIMED_OUT);
  EXPECT_EQ(Run({"lab", "stack", "release"}).status, 0);
  daemon->ReadErrorsUntil("Skipping\n");
  client.Send("C vrf 20\n");
  EXPECT_EQ(client.Read().first, "");
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
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
  EXPECT_EQ(complete("i"), "ip\nip6\ninterface\ninterface6\n");
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

TEST_F(Client, MayReadNothingForAWhile) {
  folder.Write("vlans.json", WithRoutes(70000));
  StartDaemon("10");
  for (int i = 0; i < 20 && Run({"lab", "stack", "release"}).status == 4; ++i) {
  }
  RawClient slow(path);
  ASSERT_TRUE(slow.ReadReply());
  slow.Send("C rtm rib ipv6\nC vrf 10\n");
  RawClient other(path);
  ASSERT_TRUE(other.ReadReply());
  other.Send("C ip6 protocol summary\n");
  EXPECT_THAT(other.Read().first, HasSubstr("    10     No     No     No     No\n"));
  // When this walk is over the one before it is.
  other.Send("C rtm rib ipv6\n");
  ASSERT_TRUE(other.ReadReply());
  const auto [text, reply] = slow.Read();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, wire::Code::DONE);
  EXPECT_GT(text.size(), 8000000u);
  EXPECT_LT(text.size(), 9000000u);
  EXPECT_THAT(text.substr(text.size() - 200),
              EndsWith("\nOutput was cut here: more than 8 MB were waiting for their reader\n"));
  const auto [nothing, next] = slow.Read();
  ASSERT_TRUE(next);
  EXPECT_EQ(nothing, "");
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Client, StopsPrintingWhenInterrupted) {
  StartDaemon();
  Run({"lab", "stack", "hold"});
  const auto atPrompt = Open(DaemonProcess::TERMINAL);
  atPrompt->ReadUntil("vantacore[10]> ");
  atPrompt->Send("rtm rib\n");
  EXPECT_THAT(atPrompt->ReadUntil("rtm rib\n"), Not(HasSubstr("End of table")));
  usleep(200000);
  atPrompt->Send("\x03");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), Not(HasSubstr("End of table")));
  const auto alone = Open(DaemonProcess::PIPES, {"rtm", "rib"});
  usleep(500000);
  alone->Kill(SIGINT);
  EXPECT_EQ(alone->Wait(), -SIGINT);
  EXPECT_THAT(alone->Output(), Not(HasSubstr("End of table")));
  // The walk runs out silently.
  atPrompt->Send("lab stack release\n");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), Not(HasSubstr("End of table")));
  atPrompt->Send("rtm rib\n");
  EXPECT_THAT(atPrompt->ReadUntil("vantacore[10]> "), HasSubstr("End of table"));
  ExpectHealthyDaemon();
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
  for (int i = 0; i < 64; ++i) {
    clients.push_back(std::make_unique<RawClient>(path));
    ASSERT_TRUE(clients.back()->ReadReply());
  }
  const Result result = Run({"help"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "There are 64 sessions already\n");
  clients.clear();
  // The next one may come in before the daemon has seen all of them go.
  for (int i = 0; i < 3000 && Run({"help"}).status == 1; ++i) {
    usleep(10000);
  }
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsNoDaemonAtATakenPlace) {
  StartDaemon();
  const Arguments arguments = {"--config", folder.Path(), "--daemon", "--socket", path};
  const Result second = system_test::RunDaemon(arguments, "");
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(second.errors, "vantacored: " + path + ": Address already in use\n");
  ExpectHealthyDaemon();
  place.Write("console", "a file");
  EXPECT_EQ(system_test::RunDaemon(arguments, "").status, 1);
}

TEST_F(Client, FindsTheDaemonThatFollowsAKilledOne) {
  StartDaemon();
  struct stat found {};
  ASSERT_EQ(stat(path.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600u) << "the console is for the daemon's user only";
  daemon->Kill(SIGKILL);
  daemon->Wait();
  StartDaemon();
  ExpectHealthyDaemon();
}

TEST_F(Client, KeepsTheDaemonThatTookThePlaceOfAnother) {
  StartDaemon();
  const std::unique_ptr<DaemonProcess> first = std::move(daemon);
  ASSERT_EQ(unlink(path.c_str()), 0);
  StartDaemon();
  first->Kill(SIGTERM);
  EXPECT_EQ(first->Wait(), 0);
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsNoDaemonWhileAnotherTakesAPlaceInTheFolder) {
  const int busy = open(place.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(busy, LOCK_EX), 0);
  BeginDaemon();
  usleep(300000);
  EXPECT_FALSE(HasSocket());
  close(busy);
  AwaitDaemon();
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsTheDaemonInAFolderThatSomebodyElseKeepsLocked) {
  const int busy = open(place.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(busy, LOCK_EX), 0);
  BeginDaemon();
  AwaitDaemon();
  EXPECT_TRUE(HasSocket());
  close(busy);
  ExpectHealthyDaemon();
}

TEST_F(Client, FindsTheDaemonThatWasHungUpOnBeforeItHadStarted) {
  folder.Write("vlans.json", WithRoutes(20000));
  BeginDaemon("10");
  AwaitSocket();
  daemon->Kill(SIGHUP);
  EXPECT_EQ(RunWhenHeard({"--timeout", "30", "vrf", "10"}).status, 0);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
}

TEST_F(Client, WaitsForNoReloadThatAnotherHangUpAskedFor) {
  folder.Write("vlans.json", WithRoutes(20000));
  folder.Write("remote/broken.json", "{");  // each reload complains of it
  StartDaemon("10");
  for (int i = 0; i < 20; ++i) {
    daemon->Kill(SIGHUP);
    usleep(5000);
  }
  EXPECT_EQ(Run({"--timeout", "30", "vrf", "10"}).status, 0);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  int reloads = -1;  // the start is none
  for (std::size_t at = 0; (at = daemon->Errors().find("broken.json:1:", at)) != std::string::npos;
       ++at) {
    ++reloads;
  }
  EXPECT_GT(reloads, 0);
  EXPECT_LT(reloads, 10);
}

TEST_F(Client, SaysThatItsOutputIsLost) {
  StartDaemon();
  const std::string full = system_test::WithStreams(">/dev/full", VANTACORECTL_COMMAND);
  const Result lost = system_test::RunDaemon(With({"help"}), "", full);
  EXPECT_EQ(lost.status, 1);
  EXPECT_EQ(lost.errors, "vantacorectl: standard output cannot be written\n");
  EXPECT_EQ(system_test::RunDaemon(With({"foo"}), "", full).status, 2);
  ExpectHealthyDaemon();
}

TEST_F(Client, SaysThatItsInputCannotBeRead) {
  StartDaemon();
  const Result unread =
      system_test::RunDaemon(With({}), "", system_test::WithStreams("</", VANTACORECTL_COMMAND));
  EXPECT_EQ(unread.status, 1);
  EXPECT_EQ(unread.errors, "vantacorectl: standard input cannot be read\n");
  ExpectHealthyDaemon();
}

TEST_F(Client, TellsTheDaemonNothingThatIsForClosedStreams) {
  StartDaemon();
  for (const char* closed : {">&-", "2>&-", ">&- 2>&-"}) {
    const std::string command = system_test::WithStreams(closed, VANTACORECTL_COMMAND);
    EXPECT_EQ(system_test::RunDaemon(With({}), "help\nhelp\n", command).status, 0) << closed;
  }
  ExpectHealthyDaemon();
}

}  // namespace
