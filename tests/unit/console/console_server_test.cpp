// The server with its sessions, on a loop that the test turns. The device's time is virtual and
// stands still, so a command that asks the stack for rows goes on for as long as the test likes.
#include "device/console/console_server.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>

#include "device/loop/loop.h"
#include "device/program/peer.h"
#include "device/wire/wire.h"
#include "tests/support/device_fixture.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/walks_double.h"

namespace {

using console::ConsoleServer;
using testing::ElementsAre;
using testing::IsEmpty;
using wire::Code;

constexpr uid_t ROOT = 0;
constexpr uid_t NOBODY = 65534;
constexpr uid_t UNNAMED = 0x7ffffffe;  // no system gives it to anybody
constexpr std::uint64_t NEVER = 1000 * 1000 * 1000;

bool g_refusesDescriptors = false;
int g_refusals = 0;

// Somebody at the socket, who never waits.
class Peer {
 public:
  // As another user only where the test is run by root.
  Peer(const std::string& path, uid_t user) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const bool isRoot = geteuid() == ROOT;
    EXPECT_EQ(isRoot ? seteuid(user) : 0, 0);
    EXPECT_EQ(connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(isRoot ? seteuid(ROOT) : 0, 0);
    fcntl(m_fd, F_SETFL, O_NONBLOCK);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() { close(m_fd); }

  void Send(const std::string& bytes) const {
    EXPECT_EQ(SendSome(bytes), static_cast<ssize_t>(bytes.size()));
  }
  ssize_t SendSome(const std::string& bytes) const {
    return send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  // Takes so many bytes at most, and forgets them. Returns how many there were.
  std::size_t Take(std::size_t most) const {
    std::string bytes(most, '\0');
    const ssize_t count = recv(m_fd, &bytes[0], most, 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

  // Takes what has come, up to the next reply.
  bool TakeReply() {
    char bytes[65536];
    ssize_t count = 0;
    while ((count = recv(m_fd, bytes, sizeof bytes, 0)) > 0) {
      m_decoder.Feed(bytes, static_cast<std::size_t>(count));
    }
    hasEnded = count == 0 || errno == ECONNRESET;
    while (const auto message = m_decoder.Next()) {
      if (message->kind == wire::Message::REPLY) {
        reply = *message;
        return true;
      }
      isGreeted |= message->kind == wire::Message::GREETING;
      version = message->kind == wire::Message::GREETING ? message->version : version;
      if (message->kind == wire::Message::PROGRESS) {
        progress = std::to_string(message->done) + " of " + std::to_string(message->total);
      }
      text += message->kind == wire::Message::OUTPUT ? message->text : "";
    }
    return false;
  }

  std::string text;  // before the reply
  std::optional<wire::Message> reply;
  std::string progress;  // that was told last
  unsigned short version = 0;
  bool isGreeted = false;
  bool hasEnded = false;

 private:
  int m_fd;
  wire::Decoder m_decoder;
};

class Server : public test_support::DeviceFixture {
 protected:
  Server() {
    chmod(place.Path().c_str(), 0755);
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})", "vlans.json");
    EXPECT_TRUE(Settle());
  }

  void Serve(ConsoleServer::Limits limits = {}) {
    const ConsoleServer::Context context{
        dispatcher,
        [this] {
          return std::make_unique<loop::SettledWait>(
              turns.Get(),
              loop::Activity{[this] { return isUnderWay; }, [this] { return progress; }});
        },
        [] { return static_cast<unsigned short>(10); }, walks,
        [this](std::size_t) { return effect; }};
    server.emplace(turns.Get(), path, context, limits);
    chmod(path.c_str(), 0666);
    server->Start();
  }

  void Turn() { uv_run(turns.Get(), UV_RUN_NOWAIT); }
  void TurnFor(std::uint64_t milliseconds) {
    const std::uint64_t end = uv_hrtime() + milliseconds * 1000000;
    while (uv_hrtime() < end) {
      Turn();
      usleep(1000);
    }
  }
  // Turns until the reply comes, or the peer is hung up on.
  void Await(Peer& peer) {
    peer.text.clear();
    peer.reply.reset();
    for (int i = 0; i < 20000 && !peer.TakeReply() && !peer.hasEnded; ++i) {
      Turn();
      usleep(500);
    }
  }

  std::unique_ptr<Peer> Connect(uid_t user = NOBODY, unsigned short version = wire::VERSION) {
    auto peer = std::make_unique<Peer>(path, user);
    peer->Send(wire::EncodeGreeting(version));
    return peer;
  }
  static ConsoleServer::Limits Limits(std::size_t sessions, std::uint64_t silentMilliseconds) {
    ConsoleServer::Limits limits;
    limits.sessions = sessions;
    limits.silentMilliseconds = silentMilliseconds;
    return limits;
  }
  // Only root can play two users.
  static bool IsRoot(const char* what) {
    if (geteuid() != ROOT) {
      std::cout << "This did not run, since the tests are not run by root: " << what << '\n';
    }
    return geteuid() == ROOT;
  }

  // One that is ready for a command, unless it has been refused.
  std::unique_ptr<Peer> Open(uid_t user = NOBODY, unsigned short version = wire::VERSION) {
    auto peer = Connect(user, version);
    Await(*peer);
    EXPECT_TRUE(peer->reply);
    return peer;
  }
  static void ExpectReady(const Peer& peer) {
    ASSERT_TRUE(peer.reply);
    EXPECT_FALSE(peer.reply->isLast) << peer.text;
  }
  static void ExpectRefused(const Peer& peer, const std::string& words) {
    ASSERT_TRUE(peer.reply);
    EXPECT_TRUE(peer.reply->isLast);
    EXPECT_EQ(peer.reply->code, Code::REFUSED);
    EXPECT_EQ(peer.text, words);
  }

  test_support::ScratchFolder place;
  const std::string path = place.PathOf("console");
  loop::Loop turns;
  keepers::Interfaces state;
  console::Lab lab{Control(), state, [](auto) {}};
  console::Dispatcher dispatcher{{[this](apply::Asker toldAsker, const apply::ReloadRequest&) {
                                    asker = std::move(toldAsker);
                                    if (reload) {
                                      reload();
                                    }
                                  },
                                  [](const apply::Asker&, bool) {}},
                                 &lab};
  test_support::WalksDouble walks;
  apply::Asker asker;  // of the last reload
  std::function<void()> reload;
  bool isUnderWay = false;
  loop::Progress progress;
  views::Effect effect;
  std::optional<ConsoleServer> server;
};

TEST_F(Server, GreetsAClientThatInterruptsItAtOnce) {
  Serve();
  Peer peer(path, NOBODY);
  peer.Send(wire::EncodeGreeting() + wire::EncodeInterrupt());
  Await(peer);
  EXPECT_TRUE(peer.isGreeted);
  ExpectReady(peer);
}

TEST_F(Server, TellsHowFarACommandHasComeAndWhatItLacks) {
  Serve();
  const auto peer = Open();
  EXPECT_EQ(peer->version, wire::VERSION);
  isUnderWay = true;
  peer->Send("C reload\n");
  TurnFor(20);
  asker.end(true);
  progress = {5, 9};
  for (int i = 0; i < 20 && peer->progress.empty(); ++i) {
    TurnFor(50);
    EXPECT_FALSE(peer->TakeReply());
  }
  EXPECT_EQ(peer->progress, "5 of 9");
  progress = {std::uint64_t(1) << 40, std::uint64_t(1) << 41};
  for (int i = 0; i < 20 && peer->progress == "5 of 9"; ++i) {
    TurnFor(50);
    EXPECT_FALSE(peer->TakeReply());
  }
  EXPECT_EQ(peer->progress, "4294967295 of 4294967295");
  effect = {true, {"one"}, 1, 0, 0};
  isUnderWay = false;
  Await(*peer);
  ExpectReady(*peer);
  EXPECT_EQ(peer->reply->code, Code::DIFFERS);
  EXPECT_EQ(peer->text, "one\n1 row is not as wanted\n");
}

TEST_F(Server, ServesAClientOfVersion1AsThatKnows) {
  Serve();
  const auto peer = Open(NOBODY, 1);
  ExpectReady(*peer);
  EXPECT_EQ(peer->version, 1);
  isUnderWay = true;
  peer->Send("C reload\n");
  TurnFor(20);
  asker.end(true);
  progress = {5, 9};
  TurnFor(600);
  EXPECT_FALSE(peer->TakeReply());
  EXPECT_EQ(peer->progress, "");
  effect = {true, {"one"}, 1, 0, 0};
  isUnderWay = false;
  Await(*peer);
  ExpectReady(*peer);
  EXPECT_EQ(peer->reply->code, Code::DONE) << "it knows no other code for what was applied";
  EXPECT_EQ(peer->text, "one\n1 row is not as wanted\n");
}

TEST_F(Server, ServesAClientOfVersion2AsThatKnows) {
  Serve();
  const auto peer = Open(NOBODY, 2);
  EXPECT_EQ(peer->version, 2);
  isUnderWay = true;
  peer->Send("C reload\n");
  TurnFor(20);
  asker.end(true);
  progress = {5, 9};
  for (int i = 0; i < 20 && peer->progress.empty(); ++i) {
    TurnFor(50);
    EXPECT_FALSE(peer->TakeReply());
  }
  EXPECT_EQ(peer->progress, "5 of 9");
  effect = {true, {"one"}, 1, 0, 0};
  isUnderWay = false;
  Await(*peer);
  ExpectReady(*peer);
  EXPECT_EQ(peer->reply->code, Code::DIFFERS);
}

TEST_F(Server, WaitsForNoEffectIfItsClientDoesNot) {
  Serve();
  const auto peer = Open();
  isUnderWay = true;
  peer->Send(wire::EncodeNoWait() + "C reload\n");
  TurnFor(20);
  EXPECT_FALSE(peer->TakeReply());
  asker.end(false);
  Await(*peer);
  ExpectReady(*peer);
  EXPECT_EQ(peer->reply->code, Code::REFUSED);
  peer->Send("C reload\n");
  TurnFor(20);
  asker.end(true);
  Await(*peer);
  ExpectReady(*peer);
  EXPECT_EQ(peer->reply->code, Code::DONE);
}

TEST_F(Server, KnowsWhoIsAtTheSocket) {
  Serve();
  for (const uid_t user : {NOBODY, UNNAMED, ROOT}) {
    const auto peer = Open(user);
    ExpectReady(*peer);
    peer->Send("C reload\n");
    TurnFor(20);
    asker.end(true);
    const uid_t by = geteuid() == ROOT ? user : geteuid();
    EXPECT_EQ(asker.name,
              program::FindUserName(by).value_or("uid " + std::to_string(by)) + " at the socket");
    Await(*peer);
  }
}

TEST_F(Server, EndsTheHoldOfASessionUnlessThatIsForOneCommand) {
  Serve();
  for (const std::string& single : {std::string(), wire::EncodeSingle()}) {
    auto peer = Open();
    peer->Send(single + "C lab stack hold\n");
    Await(*peer);
    ExpectReady(*peer);
    EXPECT_TRUE(stack.GetFacts().IsHeld());
    peer.reset();
    TurnFor(20);
    EXPECT_EQ(stack.GetFacts().IsHeld(), !single.empty());
    Control().Release();
  }
}

// Its walk is held when more than a megabyte waits, beside what the socket has taken, and goes on
// when less than half of that does.
TEST_F(Server, HoldsTheWalkOfAClientThatDoesNotRead) {
  Serve();
  const auto peer = Open();
  reload = [this] { walks.Begin(); };
  peer->Send("C reload\n");
  TurnFor(20);
  walks.TakeCalls();
  const std::string row(1021, 'x');  // 1 KB on the wire
  std::size_t told = 0;
  while (told < 8000 && walks.TakeCalls().empty()) {
    asker.report(row + "\n");
    ++told;
  }
  EXPECT_GT(told, 1024u);
  EXPECT_LT(told, 2048u) << "the socket has not taken so much";
  TurnFor(20);
  EXPECT_THAT(walks.TakeCalls(), IsEmpty());
  std::size_t taken = 0;
  std::vector<std::string> calls;
  while (taken < told * 1024 && calls.empty()) {
    taken += peer->Take(16 * 1024);
    Turn();
    calls = walks.TakeCalls();
  }
  EXPECT_THAT(calls, ElementsAre("go on 1"));
  EXPECT_GT(taken, 500u * 1024);
  EXPECT_LT(taken, 768u * 1024) << "half of it, and what the socket holds";
}

TEST_F(Server, LeavesInTheSocketWhatIsSentFarAhead) {
  Serve();
  const auto peer = Open();
  peer->Send("C rtm rib\n");
  std::string commands;
  while (commands.size() < 4096) {
    commands += "C help\n";
  }
  // The server has had its turns and takes no more of it.
  std::size_t sent = 0;
  for (int refusals = 0; refusals < 100 && sent < 8 * 1024 * 1024;) {
    const ssize_t count = peer->SendSome(commands);
    sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    refusals = count > 0 ? 0 : refusals + 1;
    Turn();
  }
  EXPECT_LT(sent, 1024u * 1024) << "the daemon holds what a client sends ahead without a limit";
  EXPECT_GT(sent, 16u * 1024);
}

// Neither its command, nor an interrupt, which would take the words away, nor what follows.
TEST_F(Server, TakesNothingFromAClientThatItDoesNotKnow) {
  Serve();
  int reloads = 0;
  reload = [&reloads] { ++reloads; };
  const std::string known = "; the daemon knows versions 1 to 3\n";
  const std::string missing =
      "The client does not say which version of the console protocol it speaks" + known;
  const std::string other = "The client speaks version 4 of the console protocol" + known;
  const std::string command = "C reload\n";
  const std::string interrupt = wire::EncodeInterrupt();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {command, missing},
      {interrupt, missing},
      {command + interrupt, missing},
      {interrupt + wire::EncodeGreeting() + command, missing},
      {wire::EncodeGreeting(4), other},
      {wire::EncodeGreeting(4) + interrupt, other},
      {wire::EncodeGreeting(4) + command, other},
      {wire::EncodeGreeting(4) + wire::EncodeGreeting(), other}};
  for (const auto& [sent, words] : cases) {
    SCOPED_TRACE(sent);
    Peer peer(path, NOBODY);
    peer.Send(sent);
    Await(peer);
    ExpectRefused(peer, words);
    Await(peer);
    EXPECT_FALSE(peer.reply);
    EXPECT_TRUE(peer.hasEnded);
  }
  EXPECT_EQ(reloads, 0);
  const auto greets = Open();
  ExpectReady(*greets);
}

TEST_F(Server, WaitsForAGreetingForAWhileOnly) {
  ConsoleServer::Limits limits;
  limits.greetingMilliseconds = 20;
  Serve(limits);
  const auto greets = Open();
  Peer silent(path, NOBODY);
  Await(silent);
  ExpectRefused(
      silent,
      "The client does not say which version of the console protocol it speaks; the daemon "
      "knows versions 1 to 3\n");
  Await(silent);
  EXPECT_TRUE(silent.hasEnded);
  greets->Send("C help\n");
  Await(*greets);
  ExpectReady(*greets);
}

TEST_F(Server, HasSixtyFourPlacesAndAMinuteOfSilence) {
  EXPECT_EQ(ConsoleServer::Limits().sessions, 64u);
  EXPECT_EQ(ConsoleServer::Limits().silentMilliseconds, 60000u);
}

TEST_F(Server, KeepsOneSessionForRoot) {
  Serve(Limits(2, NEVER));
  const auto first = Open();
  auto second = Open();
  ExpectRefused(*Open(), "There are 2 sessions already\n");
  if (!IsRoot("one more session is kept for root")) {
    return;
  }
  const auto root = Open(ROOT);
  ExpectReady(*root);
  ExpectRefused(*Open(ROOT), "There are 2 sessions already\n");
  ExpectRefused(*Open(), "There are 2 sessions already\n");
  second.reset();
  TurnFor(20);
  ExpectRefused(*Open(), "There are 2 sessions already\n");
  ExpectReady(*Open(ROOT));
}

TEST_F(Server, KeepsOneSessionForRootWhenRootHasAllOthers) {
  if (!IsRoot("one more session is kept for root")) {
    return;
  }
  Serve(Limits(2, NEVER));
  const auto first = Open(ROOT);
  const auto second = Open(ROOT);
  ExpectRefused(*Open(), "There are 2 sessions already\n");
  const auto third = Open(ROOT);
  ExpectReady(*third);
  ExpectRefused(*Open(ROOT), "There are 2 sessions already\n");
}

TEST_F(Server, GivesThePlaceOfTheLongestSilentToAnother) {
  Serve(Limits(2, 0));
  const auto first = Open();
  TurnFor(5);
  const auto second = Open();
  TurnFor(5);
  first->Send("C help\n");
  Await(*first);  // so the second is the longer silent now
  const auto third = Open();
  ExpectReady(*third);
  Await(*second);
  ExpectRefused(*second, "This session was silent for 0 s, and another client needs its place\n");
  Await(*second);
  EXPECT_TRUE(second->hasEnded);
  for (const auto* served : {&first, &third}) {
    (*served)->Send("C help\n");
    Await(**served);
    ExpectReady(**served);
  }
}

// Some of them have been there for less than a millisecond.
TEST_F(Server, GivesThePlaceOfOneThatNeedNotHaveBeenSilent) {
  Serve(Limits(1, 0));
  auto last = Open();
  for (int i = 0; i < 100; ++i) {
    auto next = Open();
    ExpectReady(*next);
    last = std::move(next);
  }
}

TEST_F(Server, CountsSilenceFromTheLastSign) {
  Serve(Limits(1, 100));
  const auto first = Open();
  TurnFor(60);
  first->Send("C help\n");
  Await(*first);
  const std::uint64_t sign = uv_hrtime();
  TurnFor(60);
  const auto early = Open();
  if (uv_hrtime() - sign < 100 * 1000000ull) {  // the machine was not busy with something else
    ExpectRefused(*early, "There are 1 sessions already\n");
  }
  TurnFor(110);
  ExpectReady(*Open());
}

TEST_F(Server, TakesNoPlaceFromOneThatHasJustCome) {
  Serve(Limits(1, 60000));
  const Peer first(path, NOBODY);
  for (int i = 0; i < 1000 && server->CountSessions() == 0; ++i) {
    TurnFor(1);
  }
  ASSERT_EQ(server->CountSessions(), 1u);
  ExpectRefused(*Open(), "There are 1 sessions already\n");
}

TEST_F(Server, TakesNoPlaceFromARunningCommand) {
  Serve(Limits(2, 0));
  const auto running = Open();
  running->Send("C rtm rib\n");
  TurnFor(10);
  const auto idle = Open();
  ExpectReady(*Open());  // it has the place of the idle one, and leaves
  TurnFor(10);
  const auto alsoRunning = Open();
  alsoRunning->Send("C rtm rib\n");
  TurnFor(10);
  ExpectRefused(*Open(), "There are 2 sessions already\n");
}

TEST_F(Server, TakesNoPlaceFromOneThatReadsItsOutputSlowly) {
  Serve(Limits(1, 0));
  const auto slow = Open();
  std::string commands;
  for (int i = 0; i < 2000; ++i) {
    commands += "C help\n";
  }
  slow->Send(commands);
  TurnFor(100);  // until the socket takes no more of what they print
  ExpectRefused(*Open(), "There are 1 sessions already\n");
}

TEST_F(Server, RestsWhileItHasNoDescriptorForAClient) {
  Serve();
  const auto first = Open();
  const auto waiting = Connect();
  g_refusesDescriptors = true;
  TurnFor(350);
  EXPECT_GE(g_refusals, 2) << "it does not try again";
  EXPECT_LE(g_refusals, 5) << "it does not rest";
  first->Send("C help\n");
  Await(*first);
  ExpectReady(*first);
  g_refusesDescriptors = false;
  Await(*waiting);
  ExpectReady(*waiting);
}

}  // namespace

// The server's, in the place of the C library's: a limit of the process would hit the test too.
int accept4(int fd, sockaddr* __restrict address, socklen_t* __restrict size, int flags) {
  if (g_refusesDescriptors) {
    ++g_refusals;
    errno = EMFILE;
    return -1;
  }
  return static_cast<int>(syscall(SYS_accept4, fd, address, size, flags));
}
