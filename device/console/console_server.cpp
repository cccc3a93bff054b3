// A session finds out from inside itself that its client has gone, so it is deleted in a later
// turn. What it had begun goes on without it: the console discards its output and is deleted by the
// walk's end.
#include "console_server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <uv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

#include "device/program/peer.h"

namespace console {

namespace {

constexpr int BACKLOG = 64;
constexpr unsigned START_LIMIT_MILLISECONDS = 5000;
constexpr unsigned PAUSE_MILLISECONDS = 100;
constexpr uid_t ROOT = 0;

[[noreturn]] void Fail(const std::string& path, int problem) {
  throw std::runtime_error(path + ": " + std::strerror(problem));
}

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    Fail(path, ENAMETOOLONG);
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// A socket that nobody listens at is what a daemon that was killed has left.
bool IsLeftOver(const sockaddr_un& address) {
  struct stat found {};
  if (lstat(address.sun_path, &found) != 0 || !S_ISSOCK(found.st_mode)) {
    return false;
  }
  const program::OwnedDescriptor probe(
      socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return connect(probe.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
         errno == ECONNREFUSED;
}

int Bind(int fd, const sockaddr_un& address) {
  const mode_t mask = umask(S_IXUSR | S_IRWXG | S_IRWXO);
  const int problem =
      bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  umask(mask);
  return problem;
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Keeps another daemon that starts from taking a socket that is bound, and not listened at yet, for
// one that was left over. A start holds the lock for milliseconds, so after a second somebody else
// has it, and the start goes on without; as it does in a folder that cannot be locked.
void LockUntilClosed(int folder) {
  for (int tries = 0; tries < 100; ++tries) {
    if (flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
      return;
    }
    uv_sleep(10);
  }
}

int Listen(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  const program::OwnedDescriptor folder(
      open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  LockUntilClosed(folder.Get());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    Fail(path, errno);
  }
  int problem = Bind(fd, address);
  if (problem == EADDRINUSE && IsLeftOver(address)) {
    unlink(address.sun_path);
    problem = Bind(fd, address);
  }
  if (problem == 0 && listen(fd, BACKLOG) != 0) {
    problem = errno;
  }
  if (problem != 0) {
    close(fd);
    Fail(path, problem);
  }
  return fd;
}

}  // namespace

ConsoleServer::Identity ConsoleServer::FindIdentity(const std::string& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 ? Identity(found.st_dev, found.st_ino) : Identity();
}

ConsoleServer::ConsoleServer(uv_loop_s* loop, const std::string& path, Context context,
                             Limits limits)
    : m_loop(loop),
      m_path(path),
      m_context(std::move(context)),
      m_limits(limits),
      m_listener(Listen(path)),
      m_identity(FindIdentity(path)),
      m_poll(loop, m_listener.Get()),
      m_sweep(loop),
      m_pause(loop) {}

// Another daemon has the place by now when somebody removed the socket before.
ConsoleServer::~ConsoleServer() {
  if (FindIdentity(m_path) == m_identity) {
    unlink(m_path.c_str());
  }
}

void ConsoleServer::Start() {
  m_start = m_context.makeSettle();
  m_start->Wait(START_LIMIT_MILLISECONDS, [this](bool) { Serve(); });
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
  const SessionContext context{m_loop,          m_context.dispatcher,      *client.settle,
                               m_context.walks, m_context.findDifferences, {}};
  client.session = std::make_unique<SocketSession>(context, m_context.defaultVlan(), fd,
                                                   m_limits.greetingMilliseconds, [this, &client] {
                                                     client.isGone = true;
                                                     m_sweep.Post([this] { Sweep(); });
                                                   });
  client.session->Start();
}

// Those that have gone are still in the list for some turns.
bool ConsoleServer::HasPlaceFor(int fd) const {
  const auto count = static_cast<std::size_t>(std::count_if(
      m_clients.begin(), m_clients.end(), [](const Client& client) { return !client.isGone; }));
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
