// A session whose operator is at the other end of a socket.
#ifndef DEVICE_CONSOLE_SOCKET_SESSION_H
#define DEVICE_CONSOLE_SOCKET_SESSION_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "device/program/owned_descriptor.h"
#include "device/wire/wire.h"
#include "output_queue.h"
#include "session.h"

namespace console {

/// Speaks device/wire/wire.h. A command is taken after the output of the last one and its reply
/// have been sent, so a client that reads nothing costs no more than one command's output.
class SocketSession : public Session {
 public:
  /// Owns `fd`, a client of the socket that is called `place` in the log. `gone` is called once, from inside the session, when nobody is at the other end any
  /// more; the session has to be deleted later, not from inside that call. The context's `leave` is
  /// not used. The client has `greetingMilliseconds` for its greeting.
  SocketSession(const SessionContext& context, unsigned short vlan, int fd, const char* place,
                std::uint64_t greetingMilliseconds, std::function<void()> gone);
  void Start() override;
  /// Returns for how many milliseconds the session has been idle; nothing while a command is
  /// running or output waits to be sent.
  std::optional<std::uint64_t> GetSilence() const;
  /// Sends `why` and hangs up at once, whether or not the client reads it.
  void End(const std::string& why);

 protected:
  void Write(std::string_view text) override;
  void Flush() override {}
  Operator GetOperator() const override { return {m_name, false}; }
  void Ready() override;
  void ShowProgress(const loop::Progress& progress) override;
  void BecomeLive() override;

 private:
  bool IsIdle() const { return !m_isRunning && !m_isLast && m_queue.IsEmpty(); }
  wire::Code GetCode() const;
  void Finish(wire::Code code, bool isLast);
  void OnEvents(int events);
  bool Receive();
  void GoOn();
  void TakeMessages();
  void Take(const wire::Message& message);
  void Greet(const wire::Message& first);
  void Refuse(const std::string& why);
  void AnswerCompletion(const std::string& begun);
  void StopPrinting();
  void GiveSign();
  void Watch();
  void HangUp();

  program::OwnedDescriptor m_socket;
  const std::string m_name;  // of the operator
  loop::Poll m_poll;
  loop::Timer m_patience;  // for the greeting
  loop::Timer m_sign;      // until the next sign of the daemon in a live command's silence
  const std::uint64_t m_greetingMilliseconds;
  std::function<void()> m_gone;
  wire::Decoder m_decoder;
  std::optional<wire::Message> m_next;  // a command that has to wait
  OutputQueue m_queue;
  std::string m_lastReply;
  int m_watched = 0;
  // When something came, went out or was over; by the loop's clock, in milliseconds.
  std::uint64_t m_lastSign = 0;
  unsigned short m_version = wire::VERSION;  // that the client speaks
  bool m_isGreeted = false;
  bool m_isRunning = false;
  bool m_isLast = false;  // the last reply has been given: hang up when it has gone out
  bool m_isGone = false;
};

}  // namespace console

#endif
