// A session finds out from inside itself that its client has gone, so it is deleted in a later
// turn. What it had begun goes on without it: the console discards its output and is deleted by the
// walk's end.
#include "console_server.h"

#include <sys/socket.h>
#include <uv.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "device/program/peer.h"

namespace console {

namespace {

constexpr unsigned START_LIMIT_MILLISECONDS = 5000;
constexpr unsigned PAUSE_MILLISECONDS = 100;
constexpr uid_t ROOT = 0;

}  // namespace

ConsoleServer::ConsoleServer(uv_loop_s* loop, const std::string& path, Context context,
                             Limits limits)
    : m_loop(loop),
      m_context(std::move(context)),
      m_limits(limits),
      m_listener(path, m_context.access),
      m_poll(loop, m_listener.Get()),
      m_sweep(loop),
      m_pause(loop) {}

ConsoleServer::ConsoleServer(uv_loop_s* loop, int descriptor, Context context, Limits limits)
    : m_loop(loop),
      m_context(std::move(context)),
      m_limits(limits),
      m_listener(descriptor),
      m_poll(loop, m_listener.Get()),
      m_sweep(loop),
      m_pause(loop) {}

ConsoleServer::~ConsoleServer() = default;

void ConsoleServer::Start(std::function<void()> serving) {
  m_start = m_context.makeSettle();
  m_start->Wait(START_LIMIT_MILLISECONDS, [this, serving = std::move(serving)](bool) {
    Serve();
    if (serving) {
      serving();
    }
  });
}

void ConsoleServer::Serve() {
  m_poll.Start(UV_READABLE, [this](int) { Accept(); });
}

// Without a descriptor for it the client stays where it is, and the loop would ask again at once.
void ConsoleServer::Accept() {
  const int fd = accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC);
  if (fd >= 0) {
    Welcome(fd);
  } else if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) {
    m_poll.Start(0, {});
    m_pause.Start(PAUSE_MILLISECONDS, [this] { Serve(); });
  }
}

void ConsoleServer::Welcome(int fd) {
  if (!HasPlaceFor(fd) && !EndSilentSession()) {
    Refuse(fd);
    return;
  }
  m_clients.emplace_back();
  Client& client = m_clients.back();
  client.settle = m_context.makeSettle();
  const SessionContext context{m_loop,          m_context.dispatcher, *client.settle,
                               m_context.walks, m_context.findEffect, {}};
  client.session =
      std::make_unique<SocketSession>(context, m_context.defaultVlan(), fd, m_context.place,
                                      m_limits.greetingMilliseconds, [this, &client] {
                                        client.isGone = true;
                                        m_sweep.Post([this] { Sweep(); });
                                      });
  client.session->Start();
}

// Those that have gone are still in the list for some turns.
std::size_t ConsoleServer::CountSessions() const {
  return static_cast<std::size_t>(std::count_if(
      m_clients.begin(), m_clients.end(), [](const Client& client) { return !client.isGone; }));
}

bool ConsoleServer::HasPlaceFor(int fd) const {
  const std::size_t count = CountSessions();
  return count < m_limits.sessions || (count == m_limits.sessions && program::FindPeer(fd) == ROOT);
}

bool ConsoleServer::EndSilentSession() {
  std::optional<std::uint64_t> longest;
  SocketSession* session = nullptr;
  for (const Client& client : m_clients) {
    const auto silence = client.isGone ? std::nullopt : client.session->GetSilence();
    if (silence >= m_limits.silentMilliseconds && silence > longest) {
      longest = silence;
      session = client.session.get();
    }
  }
  if (!session) {
    return false;
  }
  session->End("This session was silent for " + std::to_string(m_limits.silentMilliseconds / 1000) +
               " s, and another client needs its place");
  return true;
}

void ConsoleServer::Refuse(int fd) const {
  const program::OwnedDescriptor refused(fd);
  OutputQueue queue;
  queue.Add("There are " + std::to_string(m_limits.sessions) + " sessions already\n");
  queue.AddReply(wire::EncodeReply(wire::Code::REFUSED, m_context.defaultVlan(), true));
  queue.Send(fd);
}

// One in each turn: a session may have a megabyte of output to free, and many may have gone at
// once.
void ConsoleServer::Sweep() {
  const auto gone = std::find_if(m_clients.begin(), m_clients.end(),
                                 [](const Client& client) { return client.isGone; });
  if (gone != m_clients.end()) {
    m_clients.erase(gone);
    m_sweep.Post([this] { Sweep(); });
  }
}

}  // namespace console
