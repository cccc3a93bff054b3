// States. Ungreeted: nothing but a greeting is taken. Running: a command has begun, and its reply
// has not been given. Draining: it has, but not all of it has gone out. Idle: neither, the next
// command may be taken. Whatever happens ends in GoOn(), which sends, takes what may be taken, and
// watches the socket for what is missing.
//
// Write() is called from the depth of the library, so it only queues and sends: that the reader has
// gone is found out by the loop.
#include "socket_session.h"

#include <sys/socket.h>
#include <unistd.h>
#include <uv.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "device/program/peer.h"
#include "tarsel/trace.h"

namespace console {

namespace {

// Commands that a client sends ahead wait in the socket beyond this.
constexpr std::size_t READ_AHEAD = 16 * 1024;
constexpr std::size_t SEND_AT_ONCE_FROM = 64 * 1024;
// A client waits a second for a sign at least.
constexpr unsigned SIGN_MILLISECONDS = 400;

// The versions of the protocol that brought these.
constexpr unsigned short PROGRESS_SINCE = 2;
constexpr unsigned short DIFFERS_SINCE = 2;
constexpr unsigned short LIVE_SINCE = 3;

constexpr const char* OF_THE_PROTOCOL = " of the console protocol";
const std::string KNOWN = "; the daemon knows versions " + std::to_string(wire::EARLIEST_VERSION) +
                          " to " + std::to_string(wire::VERSION);

std::string DescribeMissingVersion() {
  return std::string("The client does not say which version") + OF_THE_PROTOCOL + " it speaks" +
         KNOWN;
}

// The name of whoever is at the other end, for the log and the revisions.
std::string NameOf(int fd, const char* place) {
  const auto user = program::FindPeer(fd);
  const std::string name =
      user ? program::FindUserName(*user).value_or("uid " + std::to_string(*user)) : "somebody";
  return name + " at " + place;
}

}  // namespace

SocketSession::SocketSession(const SessionContext& context, unsigned short vlan, int fd,
                             const char* place, std::uint64_t greetingMilliseconds,
                             std::function<void()> gone)
    : Session({context.loop, context.dispatcher, context.settle, context.walks, context.findEffect,
               [this](int) {
                 Finish(GetCode(), true);
                 GoOn();
               }},
              vlan),
      m_socket(fd),
      m_name(NameOf(fd, place)),
      m_poll(context.loop, fd),
      m_patience(context.loop),
      m_sign(context.loop),
      m_greetingMilliseconds(greetingMilliseconds),
      m_gone(std::move(gone)) {}

// A client that knows nothing of greetings waits for the daemon's first reply.
void SocketSession::Start() {
  m_patience.Start(m_greetingMilliseconds, [this] {
    Refuse(DescribeMissingVersion());
    GoOn();
  });
  m_lastSign = uv_now(GetLoop());
  Watch();
}

std::optional<std::uint64_t> SocketSession::GetSilence() const {
  return IsIdle() ? std::optional<std::uint64_t>(uv_now(GetLoop()) - m_lastSign) : std::nullopt;
}

void SocketSession::End(const std::string& why) {
  Refuse(why);
  m_queue.Send(m_socket.Get());
  HangUp();
}

void SocketSession::Ready() {
  const wire::Code code = GetCode();
  if (code == wire::Code::TIMED_OUT && !ShowsDocument()) {
    m_queue.Add("The command stands; its requests are still under way\n");
  }
  Finish(code, false);
  GoOn();
}

void SocketSession::Write(std::string_view text) {
  m_queue.Add(text);
  if (m_queue.CountWaiting() > SEND_AT_ONCE_FROM && !m_queue.IsStopped()) {
    m_queue.Send(m_socket.Get());
  }
  HeedWaiting(m_queue.CountWaiting());
  Watch();
}

wire::Code SocketSession::GetCode() const {
  const Result result = ResultOf(GetSigns() | (m_queue.IsCut() ? unsigned{CUT} : 0u));
  return result == Result::DIFFERS && m_version < DIFFERS_SINCE ? Result::DONE : result;
}

// A total that the wire cannot hold is out of proportion anyway. Somebody who does not read gets no
// more to read.
void SocketSession::ShowProgress(const loop::Progress& progress) {
  const auto Limit = [](std::uint64_t count) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, UINT32_MAX));
  };
  if (m_isRunning && m_version >= PROGRESS_SINCE && m_queue.IsEmpty()) {
    m_queue.AddMessage(wire::EncodeProgress(Limit(progress.done), Limit(progress.total)));
    Watch();
  }
}

void SocketSession::BecomeLive() {
  if (m_version >= LIVE_SINCE) {
    m_queue.AddMessage(wire::EncodeLive());
    Watch();
  }
  m_sign.Start(SIGN_MILLISECONDS, [this] { GiveSign(); });
}

// A client takes a long silence for the daemon's end, and here nothing may happen for hours.
void SocketSession::GiveSign() {
  ShowProgress({});
  m_sign.Start(SIGN_MILLISECONDS, [this] { GiveSign(); });
}

void SocketSession::Finish(wire::Code code, bool isLast) {
  m_lastReply = wire::EncodeReply(code, GetVlan(), isLast);
  m_queue.AddReply(m_lastReply);
  m_sign.Stop();
  m_isRunning = false;
  m_isLast = isLast;
}

void SocketSession::OnEvents(int events) {
  if (events < 0 || ((events & UV_READABLE) && !Receive())) {
    HangUp();
  } else {
    GoOn();
  }
}

bool SocketSession::Receive() {
  char bytes[4096];
  const ssize_t count = recv(m_socket.Get(), bytes, sizeof bytes, MSG_DONTWAIT);
  if (count > 0) {
    m_decoder.Feed(bytes, static_cast<std::size_t>(count));
  }
  return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

void SocketSession::GoOn() {
  if (m_isGone) {
    return;
  }
  m_lastSign = uv_now(GetLoop());
  if (!m_queue.Send(m_socket.Get()) || (m_isLast && m_queue.IsEmpty())) {
    HangUp();
    return;
  }
  HeedWaiting(m_queue.CountWaiting());
  TakeMessages();
  Watch();
}

void SocketSession::TakeMessages() {
  for (;;) {
    if (!m_next) {
      m_next = m_decoder.Next();
    }
    if (!m_next || (m_next->kind != wire::Message::INTERRUPT && !IsIdle())) {
      break;
    }
    Take(*std::exchange(m_next, std::nullopt));
  }
  if (!m_next && m_decoder.IsBroken() && IsIdle()) {
    Refuse("That is no message of a console client");
  }
}

void SocketSession::Greet(const wire::Message& first) {
  if (first.kind != wire::Message::GREETING) {
    Refuse(DescribeMissingVersion());
    return;
  }
  if (first.version < wire::EARLIEST_VERSION || first.version > wire::VERSION) {
    m_queue.AddReply(wire::EncodeGreeting());
    Refuse("The client speaks version " + std::to_string(first.version) + OF_THE_PROTOCOL + KNOWN);
    return;
  }
  m_patience.Stop();
  m_isGreeted = true;
  Tarsel::TRACE(10, "A session begins: %s\n", m_name.c_str());
  m_version = first.version;
  // An interrupt that comes at once must leave both.
  m_lastReply = wire::EncodeGreeting(m_version) + wire::EncodeReply(wire::Code::DONE, GetVlan());
  m_queue.AddReply(m_lastReply);
}

void SocketSession::Refuse(const std::string& why) {
  m_patience.Stop();
  m_queue.Add(why + "\n");
  Finish(wire::Code::REFUSED, true);
}

void SocketSession::Take(const wire::Message& message) {
  if (!m_isGreeted) {
    if (!m_isLast) {
      Greet(message);
    }
    return;
  }
  if (message.kind == wire::Message::INTERRUPT) {
    StopPrinting();
    return;
  }
  switch (message.kind) {
    case wire::Message::COMPLETION:
      AnswerCompletion(message.text);
      break;
    case wire::Message::HELP:
      m_queue.Add(HelpAt(message.text));
      Finish(wire::Code::DONE, false);
      break;
    case wire::Message::NO_WAIT:
      WaitForNoEffects();
      break;
    case wire::Message::SINGLE:
      ExpectOneLine();
      break;
    case wire::Message::COMMAND:
      m_isRunning = true;
      Execute(message.text);
      break;
    default:
      break;  // clients have nothing to print here
  }
}

void SocketSession::AnswerCompletion(const std::string& begun) {
  for (const std::string& match : Complete(begun)) {
    m_queue.Add(match + "\n");
  }
  Finish(wire::Code::DONE, false);
}

// All that waits is this command's. A reply of which a part has gone out is on its way anyway.
void SocketSession::StopPrinting() {
  if (m_isRunning) {
    m_queue.Drop();
    Interrupt();
  } else if (m_queue.CountWaiting() > m_lastReply.size()) {
    m_queue.Drop();
    m_queue.AddReply(m_lastReply);
  }
}

void SocketSession::Watch() {
  const int events = (m_decoder.CountWaiting() < READ_AHEAD ? UV_READABLE : 0) |
                     (m_queue.IsEmpty() ? 0 : UV_WRITABLE);
  if (!m_isGone && events != m_watched) {
    m_watched = events;
    m_poll.Start(events, [this](int come) { OnEvents(come); });
  }
}

void SocketSession::HangUp() {
  if (m_isGreeted) {
    Tarsel::TRACE(10, "A session ends: %s\n", m_name.c_str());
  }
  m_isGone = true;
  Abandon();
  m_patience.Stop();
  m_sign.Stop();
  m_poll.Start(0, {});
  m_gone();
}

}  // namespace console
