// The server at a real socket, on a loop that the test turns.
#include "device/daemon/metrics_server.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <cstring>
#include <list>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

#include "device/loop/loop.h"
#include "tests/support/scratch_folder.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using vantacored::MetricsServer;

const std::string GET = "GET /metrics HTTP/1.0\r\n\r\n";

// Somebody at the socket, who never waits.
class Peer {
 public:
  explicit Peer(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    isConnected = connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    fcntl(m_fd, F_SETFL, O_NONBLOCK);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() { Close(); }

  void Send(const std::string& bytes) const {
    static_cast<void>(send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }
  void EndSending() const { shutdown(m_fd, SHUT_WR); }
  void Close() {
    if (m_fd >= 0) {
      close(m_fd);
      m_fd = -1;
    }
  }
  /// Takes what has come. Returns whether that was all.
  bool Take() {
    char bytes[4096];
    ssize_t count = 0;
    while ((count = recv(m_fd, bytes, sizeof bytes, 0)) > 0) {
      text.append(bytes, static_cast<std::size_t>(count));
    }
    return count == 0 || errno == ECONNRESET;
  }

  std::string text;
  bool isConnected = false;

 private:
  int m_fd;
};

class MetricsServerTest : public testing::Test {
 protected:
  void Serve(const MetricsServer::Limits& limits = {}) {
    server.emplace(
        turns.Get(), path,
        [this] {
          ++asked;
          return body;
        },
        limits);
    server->Start();
  }
  void TurnFor(std::uint64_t milliseconds) {
    const std::uint64_t end = uv_hrtime() + milliseconds * 1000000;
    do {
      uv_run(turns.Get(), UV_RUN_NOWAIT);
      usleep(200);
    } while (uv_hrtime() < end);
  }
  /// Until the server has closed the connection.
  std::string AnswerTo(Peer& peer) {
    const std::uint64_t end = uv_hrtime() + 10000000000;
    bool isOver = false;
    while (!isOver && uv_hrtime() < end) {
      uv_run(turns.Get(), UV_RUN_NOWAIT);
      isOver = peer.Take();
    }
    EXPECT_TRUE(isOver);
    return peer.text;
  }
  std::string Ask(const std::string& request) {
    Peer peer(path);
    peer.Send(request);
    return AnswerTo(peer);
  }

  loop::Loop turns;
  const test_support::ScratchFolder place;
  const std::string path = place.PathOf("metrics");
  std::string body = "a 1\n";
  int asked = 0;
  std::optional<MetricsServer> server;
};

TEST_F(MetricsServerTest, AnswersAndHangsUp) {
  Serve();
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 200 OK\r\n"));
  body = "a 2\n";
  EXPECT_THAT(Ask("GET /metrics HTTP/1.1\r\nHost: device\r\nAccept: */*\r\n\r\n"),
              HasSubstr("\r\n\r\na 2\n"));
  EXPECT_EQ(asked, 2);
}

TEST_F(MetricsServerTest, RefusesEverythingElse) {
  Serve();
  EXPECT_THAT(Ask("GET / HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.0 404 "));
  EXPECT_THAT(Ask("PUT /metrics HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.0 405 "));
  EXPECT_THAT(Ask("hello\r\n\r\n"), StartsWith("HTTP/1.0 400 "));
  EXPECT_THAT(Ask("GET /metrics HTTP/1.0\r\nA: " + std::string(4096, 'a')),
              StartsWith("HTTP/1.0 431 "));
  EXPECT_EQ(asked, 0);
}

TEST_F(MetricsServerTest, TakesARequestInPieces) {
  Serve();
  Peer peer(path);
  for (const char letter : GET) {
    peer.Send(std::string(1, letter));
    TurnFor(1);
  }
  EXPECT_THAT(AnswerTo(peer), StartsWith("HTTP/1.0 200 OK\r\n"));
}

// As many bytes as fit are taken, and one more is not.
TEST_F(MetricsServerTest, TakesALongRequest) {
  Serve();
  const std::string head = "GET /metrics HTTP/1.0\r\nA: ";
  const std::string end = "\r\n\r\n";
  const std::size_t most = MetricsServer::Limits().requestBytes - head.size() - end.size();
  EXPECT_THAT(Ask(head + std::string(most, 'a') + end), StartsWith("HTTP/1.0 200 "));
  EXPECT_THAT(Ask(head + std::string(most + 1, 'a') + end), StartsWith("HTTP/1.0 431 "));
}

// Its reader takes it when it likes.
TEST_F(MetricsServerTest, SendsALongAnswer) {
  body.assign(4000000, 'a');
  Serve();
  Peer peer(path);
  peer.Send(GET);
  TurnFor(20);
  const std::string answer = AnswerTo(peer);
  EXPECT_THAT(answer, HasSubstr("Content-Length: 4000000\r\n"));
  EXPECT_EQ(answer.size() - answer.find("\r\n\r\n") - 4, body.size());
}

TEST_F(MetricsServerTest, EndsAConnectionThatTakesTooLong) {
  body.assign(4000000, 'a');
  Serve({16, 4096, 50});
  Peer silent(path);
  Peer sluggish(path);
  Peer full(path);
  sluggish.Send("GET /metrics HTTP/1.0\r\n");
  full.Send(GET);
  TurnFor(200);
  EXPECT_TRUE(silent.Take());
  EXPECT_TRUE(sluggish.Take());
  EXPECT_TRUE(full.Take());
  EXPECT_EQ(silent.text + sluggish.text, "");
  EXPECT_LT(full.text.size(), body.size());
}

TEST_F(MetricsServerTest, HasSoManyPlaces) {
  Serve({3, 4096, 60000});
  std::list<Peer> silent;
  for (int i = 0; i < 3; ++i) {
    silent.emplace_back(path);
  }
  TurnFor(10);
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 503 "));
  silent.pop_front();  // who goes makes a place
  TurnFor(10);
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 200 "));
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 200 "));
}

TEST_F(MetricsServerTest, OutlivesThoseWhoHangUp) {
  body.assign(4000000, 'a');
  Serve();
  for (int i = 0; i < 50; ++i) {
    Peer peer(path);
    peer.Send(i % 3 == 0 ? "" : i % 3 == 1 ? "GET" : GET);
    if (i % 2 == 0) {
      TurnFor(1);
    }
    peer.Close();
  }
  Peer half(path);
  half.Send("GET /met");
  half.EndSending();
  EXPECT_EQ(AnswerTo(half), "");
  body = "a 1\n";
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 200 "));
}

TEST_F(MetricsServerTest, OutlivesAnyBytes) {
  Serve();
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const std::string pieces[] = {"GET ", "/metrics", " HTTP/1.0", "\r\n",     "\n\n",
                                " ",    "?",        "\0",        "\xff\xfe", "POST"};
  for (int i = 0; i < 300; ++i) {
    std::string request;
    for (unsigned int count = random() % 12; count > 0; --count) {
      request += random() % 4 == 0 ? std::string(1, static_cast<char>(random()))
                                   : pieces[random() % std::size(pieces)];
    }
    const std::string answer = Ask(request + "\r\n\r\n");
    ASSERT_THAT(answer, StartsWith("HTTP/1.0 ")) << request;
    ASSERT_THAT(answer, HasSubstr("\r\nConnection: close\r\n\r\n")) << request;
  }
}

TEST_F(MetricsServerTest, TakesThePlaceOfOneThatHasEnded) {
  {
    const int left = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(left, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(left);
  }
  Serve();
  EXPECT_THAT(Ask(GET), StartsWith("HTTP/1.0 200 "));
  struct stat found {};
  ASSERT_EQ(stat(path.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777u, 0600u);
  EXPECT_THROW(MetricsServer(turns.Get(), path, [] { return std::string(); }, {}),
               std::runtime_error);
  server.reset();
  EXPECT_NE(stat(path.c_str(), &found), 0);
}

TEST_F(MetricsServerTest, LetsItsClientsGoWhenItEnds) {
  Serve();
  Peer peer(path);
  TurnFor(5);
  server.reset();
  EXPECT_EQ(AnswerTo(peer), "");
}

// Who comes before the device has started waits.
TEST_F(MetricsServerTest, BeginsWhenItIsTold) {
  server.emplace(
      turns.Get(), path, [this] { return body; }, MetricsServer::Limits{});
  Peer peer(path);
  EXPECT_TRUE(peer.isConnected);
  peer.Send(GET);
  TurnFor(10);
  EXPECT_FALSE(peer.Take());
  server->Start();
  EXPECT_THAT(AnswerTo(peer), StartsWith("HTTP/1.0 200 "));
}

}  // namespace
