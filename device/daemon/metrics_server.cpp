// A client finds out from inside its own callbacks that it is over, so it is deleted in a later
// turn.
#include "metrics_server.h"

#include <sys/socket.h>
#include <uv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "device/program/owned_descriptor.h"
#include "http_request.h"

namespace vantacored {

namespace {

constexpr unsigned int PAUSE_MILLISECONDS = 100;

bool IsForLater(int problem) { return problem == EAGAIN || problem == EINTR; }

}  // namespace

class MetricsServer::Client {
 public:
  /// Owns `fd`. `over` is called once, from inside the client.
  Client(const MetricsServer& server, int fd, std::function<void()> over)
      : m_server(server),
        m_socket(fd),
        m_poll(server.m_loop, fd),
        m_patience(server.m_loop),
        m_over(std::move(over)) {
    m_patience.Start(server.m_limits.milliseconds, [this] { End(); });
    m_poll.Start(UV_READABLE, [this](int) { Receive(); });
  }

  bool IsOver() const { return !m_over; }

 private:
  // One piece in a turn, so that nobody who sends without end keeps the others waiting.
  void Receive() {
    std::array<char, 1024> piece{};
    const ssize_t count = recv(m_socket.Get(), piece.data(), piece.size(), 0);
    if (count < 0 && IsForLater(errno)) {
      return;
    }
    if (count <= 0) {
      End();
      return;
    }
    m_request.append(piece.data(), static_cast<std::size_t>(count));
    if (m_request.size() > m_server.m_limits.requestBytes) {
      Answer(431);
    } else if (IsRequestComplete(m_request)) {
      Answer(JudgeRequest(m_request));
    }
  }

  void Answer(int status) {
    m_answer = MakeAnswer(status, status == 200 ? m_server.m_write() : std::string());
    m_poll.Start(UV_WRITABLE, [this](int) { Send(); });
    Send();
  }

  void Send() {
    while (m_sent < m_answer.size()) {
      const std::string_view rest = std::string_view(m_answer).substr(m_sent);
      const ssize_t count = send(m_socket.Get(), rest.data(), rest.size(), MSG_NOSIGNAL);
      if (count < 0) {
        if (!IsForLater(errno)) {
          End();
        }
        return;
      }
      m_sent += static_cast<std::size_t>(count);
    }
    End();
  }

  void End() {
    if (const std::function<void()> over = std::exchange(m_over, nullptr)) {
      m_poll.Start(0, {});
      m_patience.Stop();
      shutdown(m_socket.Get(), SHUT_RDWR);
      over();
    }
  }

  const MetricsServer& m_server;
  const program::OwnedDescriptor m_socket;
  loop::Poll m_poll;
  loop::Timer m_patience;
  std::function<void()> m_over;
  std::string m_request;
  std::string m_answer;
  std::size_t m_sent = 0;
};

MetricsServer::MetricsServer(uv_loop_s* loop, const std::string& path,
                             std::function<std::string()> write, const Limits& limits)
    : m_loop(loop),
      m_write(std::move(write)),
      m_limits(limits),
      m_listener(path),
      m_poll(loop, m_listener.Get()),
      m_sweep(loop),
      m_pause(loop) {}

MetricsServer::~MetricsServer() = default;

void MetricsServer::Start() {
  m_poll.Start(UV_READABLE, [this](int) { Accept(); });
}

// Without a descriptor for it the client stays where it is, and the loop would ask again at once.
void MetricsServer::Accept() {
  const int fd = accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (fd >= 0) {
    Welcome(fd);
  } else if (!IsForLater(errno) && errno != ECONNABORTED) {
    m_poll.Start(0, {});
    m_pause.Start(PAUSE_MILLISECONDS, [this] { Start(); });
  }
}

void MetricsServer::Welcome(int fd) {
  const auto count = static_cast<std::size_t>(std::count_if(
      m_clients.begin(), m_clients.end(), [](const auto& client) { return !client->IsOver(); }));
  if (count >= m_limits.connections) {
    const program::OwnedDescriptor refused(fd);
    const std::string answer = MakeAnswer(503, {});
    static_cast<void>(send(fd, answer.data(), answer.size(), MSG_NOSIGNAL));
    return;
  }
  m_clients.push_back(
      std::make_unique<Client>(*this, fd, [this] { m_sweep.Post([this] { Sweep(); }); }));
}

void MetricsServer::Sweep() {
  m_clients.remove_if([](const auto& client) { return client->IsOver(); });
}

}  // namespace vantacored
