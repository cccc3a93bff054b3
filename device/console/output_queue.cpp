#include "output_queue.h"

#include <sys/socket.h>

#include <cerrno>

#include "device/wire/wire.h"

namespace console {

namespace {

// Moving what waits to the front is worth it when much has gone.
constexpr std::size_t COMPACT_FROM = 1024 * 1024;

constexpr const char* CUT = "\nOutput was cut here: more than 8 MB were waiting for their reader\n";

}  // namespace

bool OutputQueue::Add(const std::string& text) {
  if (m_isCut) {
    return false;
  }
  const std::string lines = wire::EncodeOutput(text);
  m_isCut = CountWaiting() + lines.size() > LIMIT;
  m_bytes += m_isCut ? wire::EncodeOutput(CUT) : lines;
  return !m_isCut;
}

void OutputQueue::AddReply(const std::string& line) {
  m_bytes += line;
  m_isCut = false;
}

void OutputQueue::Drop() {
  const std::size_t end = m_isMidLine ? m_bytes.find('\n', m_sent) + 1 : m_sent;
  m_bytes.erase(end);
  m_isCut = false;
}

bool OutputQueue::Send(int socket) {
  while (!IsEmpty()) {
    const ssize_t count =
        send(socket, m_bytes.data() + m_sent, CountWaiting(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0) {
      return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    }
    m_sent += static_cast<std::size_t>(count);
    m_isMidLine = m_sent > 0 && m_bytes[m_sent - 1] != '\n';
    if (IsEmpty() || m_sent >= COMPACT_FROM) {
      m_bytes.erase(0, m_sent);
      m_sent = 0;
    }
  }
  return true;
}

}  // namespace console
