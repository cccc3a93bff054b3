#include "socket_ends.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace system_test {

namespace {

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

void LimitReceiving(int fd) {
  const timeval limit{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void SendAll(int fd, const std::string& bytes) {
  EXPECT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

}  // namespace

SlowDaemon::SlowDaemon(const std::string& path, uid_t user)
    : m_listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const sockaddr_un address = AddressOf(path);
  EXPECT_EQ(bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  const uid_t own = geteuid();
  EXPECT_EQ(seteuid(user), 0);
  EXPECT_EQ(listen(m_listener, 1), 0);  // what the client is told is who calls this
  EXPECT_EQ(seteuid(own), 0);
  LimitReceiving(m_listener);  // a client that cannot be started never comes
}

SlowDaemon::~SlowDaemon() {
  HangUp();
  close(m_listener);
  for (const int fd : m_waiting) {
    close(fd);
  }
}

void SlowDaemon::Accept() {
  AcceptUngreeted();
  EXPECT_EQ(Read(wire::EncodeGreeting().size()), wire::EncodeGreeting());
  Send(wire::EncodeGreeting());
}

void SlowDaemon::AcceptUngreeted() {
  m_client = accept(m_listener, nullptr, nullptr);
  ASSERT_GE(m_client, 0) << "no client came";
  LimitReceiving(m_client);
}

void SlowDaemon::FillQueue() {
  sockaddr_un address{};
  socklen_t size = sizeof address;
  EXPECT_EQ(getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  int problem = 0;
  while (problem == 0) {
    m_waiting.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    problem = connect(m_waiting.back(), reinterpret_cast<const sockaddr*>(&address), size);
  }
  EXPECT_EQ(errno, EAGAIN);
}

void SlowDaemon::HangUp() {
  if (m_client >= 0) {
    close(m_client);
    m_client = -1;
  }
}

void SlowDaemon::Send(const std::string& bytes) { SendAll(m_client, bytes); }

void SlowDaemon::Offer(const std::string& bytes) const {
  const ssize_t count = send(m_client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  EXPECT_TRUE(count >= 0 || errno == EPIPE || errno == ECONNRESET);
}

std::string SlowDaemon::Read(std::size_t size) {
  std::string bytes(size, '\0');
  const ssize_t count = recv(m_client, &bytes[0], size, MSG_WAITALL);
  bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return bytes;
}

RawClient::RawClient(const std::string& path, const std::string& greeting)
    : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const sockaddr_un address = AddressOf(path);
  EXPECT_EQ(connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  LimitReceiving(m_fd);
  // A daemon that is full hangs up without a look at it.
  const ssize_t count = send(m_fd, greeting.data(), greeting.size(), MSG_NOSIGNAL);
  EXPECT_TRUE(count == static_cast<ssize_t>(greeting.size()) || errno == EPIPE);
}

RawClient::~RawClient() { close(m_fd); }

void RawClient::Send(const std::string& bytes) { SendAll(m_fd, bytes); }

std::pair<std::string, std::optional<wire::Message>> RawClient::Read() {
  std::string text;
  for (;;) {
    while (auto message = m_decoder.Next()) {
      if (message->kind == wire::Message::REPLY) {
        return {text, message};
      }
      text += message->kind == wire::Message::OUTPUT ? message->text : "";
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

}  // namespace system_test
