// Output on its way to a socket whose reader takes its time.
#ifndef DEVICE_CONSOLE_OUTPUT_QUEUE_H
#define DEVICE_CONSOLE_OUTPUT_QUEUE_H

#include <cstddef>
#include <string>

namespace console {

/// Nothing can stop a walk until its reader has caught up, so what waits is limited: output beyond that
/// is cut, a message says so, and the rest of the command's output is dropped. SocketSession then replies "refused".
class OutputQueue {
 public:
  static constexpr std::size_t LIMIT = 8 * 1024 * 1024;

  /// Takes output of a command. False: it has been cut, now or before.
  bool Add(const std::string& text);
  /// Whether output of the running command has been cut, and the reader is told so.
  bool IsCut() const { return m_isCut; }
  /// Takes the reply, for which there is always room, and ends the cut.
  void AddReply(const std::string& line);
  /// Drops what has not been sent; a line that the reader has the beginning of is kept. Nothing counts
  /// as cut then.
  void Drop();

  /// Hands over to the socket what it takes without waiting. False: there is no reader any more.
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
