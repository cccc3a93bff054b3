// The server with its sessions, on a loop that the test turns. The device's time is virtual and stands
// still, so a command that asks the stack for rows goes on for as long as the test likes.
#include "device/console/console_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

#include "device/loop/loop.h"
#include "device/wire/wire.h"
#include "tests/support/device_fixture.h"
#include "tests/support/scratch_folder.h"

namespace {

using console::ConsoleServer;

// Somebody at the socket, who never waits.
class Peer {
 public:
  explicit Peer(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
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
      text += message->text;
    }
    return false;
  }

  std::string text;  // before the reply
  std::optional<wire::Message> reply;
  bool hasEnded = false;

 private:
  int m_fd;
  wire::Decoder m_decoder;
};

class Server : public test_support::DeviceFixture {
 protected:
  Server() { Start(10); }

  void Serve() {
    const ConsoleServer::Context context{
        dispatcher,
        [this] {
          return std::make_unique<loop::SettledWait>(
              turns.Get(),
              loop::Activity{[] { return 0; }, [] { return false; }, [] { return 0; }});
        },
        [] { return static_cast<unsigned short>(10); }};
    server.emplace(turns.Get(), path, context);
    server->Start();
  }

  void Turn() { uv_run(turns.Get(), UV_RUN_NOWAIT); }
  // Turns until the reply comes, or the peer is hung up on.
  void Await(Peer& peer) {
    peer.text.clear();
    peer.reply.reset();
    for (int i = 0; i < 20000 && !peer.TakeReply() && !peer.hasEnded; ++i) {
      Turn();
      usleep(500);
    }
  }

  std::unique_ptr<Peer> Connect() { return std::make_unique<Peer>(path); }
  // One that is ready for a command, unless it has been refused.
  std::unique_ptr<Peer> Open() {
    auto peer = Connect();
    Await(*peer);
    EXPECT_TRUE(peer->reply);
    return peer;
  }
  static void ExpectReady(const Peer& peer) {
    ASSERT_TRUE(peer.reply);
    EXPECT_FALSE(peer.reply->isLast) << peer.text;
  }

  test_support::ScratchFolder place;
  const std::string path = place.PathOf("console");
  loop::Loop turns;
  apply::Interfaces state;
  console::Lab lab{Control(), state, 1000, [] {}};
  console::Dispatcher dispatcher{[](const program::Report&) {}, lab};
  std::optional<ConsoleServer> server;
};

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

// Takes all descriptors that the process may still have.
class Descriptors {
 public:
  Descriptors() {
    getrlimit(RLIMIT_NOFILE, &m_limit);
    rlimit few = m_limit;
    few.rlim_cur = 256;
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    for (int fd = 0; fd >= 0;) {
      fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
      m_taken.push_back(fd);
    }
    EXPECT_EQ(errno, EMFILE);
  }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;
  ~Descriptors() {
    for (const int fd : m_taken) {
      close(fd);
    }
    setrlimit(RLIMIT_NOFILE, &m_limit);
  }

 private:
  rlimit m_limit{};
  std::vector<int> m_taken;
};

TEST_F(Server, RestsWhileItHasNoDescriptorForAClient) {
  Serve();
  const auto first = Open();
  const auto waiting = Connect();
  std::optional<Descriptors> taken(std::in_place);
  // Each turn waits for the next event. A client that nobody can take is one at once, again and again.
  int count = 0;
  const std::uint64_t end = uv_hrtime() + 350 * 1000000ull;
  for (; uv_hrtime() < end && count < 1000; ++count) {
    uv_run(turns.Get(), UV_RUN_ONCE);
  }
  EXPECT_GE(count, 2) << "it does not try again";
  EXPECT_LT(count, 30) << "it does not rest";
  first->Send("C help\n");
  Await(*first);
  ExpectReady(*first);
  taken.reset();
  Await(*waiting);
  ExpectReady(*waiting);
}

}  // namespace
