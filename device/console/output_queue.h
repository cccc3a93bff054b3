// Output that waits for a socket whose reader is slow.
#ifndef DEVICE_CONSOLE_OUTPUT_QUEUE_H
#define DEVICE_CONSOLE_OUTPUT_QUEUE_H

#include <cstddef>
#include <string>

namespace console {

/// A walk cannot be stopped until its reader has caught up, so the queue is limited. Output beyond
/// LIMIT bytes is cut, a message says so, and the rest of the command's output is dropped. SocketSession
/// then replies "refused".
class OutputQueue {
 public:
  static constexpr std::size_t LIMIT = 8 * 1024 * 1024;

  /// Takes output of a command. Returns false if it has been cut, now or before.
  bool Add(const std::string& text);
  /// Whether output of the running command has been cut; the reader is told so.
  bool IsCut() const { return m_isCut; }
  /// Takes the reply, for which there is always room, and ends the cut.
  void AddReply(const std::string& line);
  /// Drops what has not been sent, except the rest of a line whose beginning has been sent. Output
  /// is no longer cut then.
  void Drop();

  /// Writes what the socket takes without waiting. Returns false if there is no reader any more.
  bool Send(int socket);
  bool IsEmpty() const { return CountWaiting() == 0; }
  std::size_t CountWaiting() const { return m_bytes.size() - m_sent; }

 private:
  std::string m_bytes;       // whole lines; the first may lack its beginning
  std::size_t m_sent = 0;    // how many of m_bytes the socket has taken
  bool m_isMidLine = false;  // the reader has the beginning of a line only
  bool m_isCut = false;
};

}  // namespace console

#endif
