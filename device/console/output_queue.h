// Output that waits for a socket whose reader is slow.
#ifndef DEVICE_CONSOLE_OUTPUT_QUEUE_H
#define DEVICE_CONSOLE_OUTPUT_QUEUE_H

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace console {

/// The session holds the walks of its command long before LIMIT bytes wait (session.h). The limit
/// is for a handler that prints without a walk, which nothing can hold: output beyond it is cut, a
/// message says so, and the rest of the command's output is dropped. SocketSession then replies
/// "refused".
class OutputQueue {
 public:
  static constexpr std::size_t LIMIT = 8 * 1024 * 1024;
  static constexpr std::size_t MOST_A_SEND = 64 * 1024;

  /// Takes output of a command. Returns false if it has been cut, now or before.
  bool Add(std::string_view text);
  /// Whether output of the running command has been cut; the reader is told so.
  bool IsCut() const { return m_isCut; }
  /// Takes a message that is no output, for which there is always room.
  void AddMessage(const std::string& line);
  /// The same for the reply, which ends the cut.
  void AddReply(const std::string& line);
  /// Drops what has not been sent, except the rest of a line whose beginning has been sent. Output
  /// is no longer cut then.
  void Drop();

  /// Writes what the socket takes without waiting, MOST_A_SEND bytes at most: a socket takes as
  /// much as its reader does meanwhile, and in one turn of the loop all sessions may find theirs
  /// ready. Returns false if there is no reader any more.
  bool Send(int socket);
  /// Whether the socket took less than it was offered when Send was called last: there is no use in
  /// another call until it is writable.
  bool IsStopped() const { return m_isStopped; }
  bool IsEmpty() const { return m_waiting == 0; }
  std::size_t CountWaiting() const { return m_waiting; }

 private:
  std::string& RoomFor(std::size_t size);

  // Blocks of whole lines, none of them empty. A block goes when it has been sent, so no more
  // memory is taken than what waits needs, and nothing is moved.
  std::deque<std::string> m_blocks;
  std::size_t m_sent = 0;  // how many bytes of the first block the socket has taken
  std::size_t m_waiting = 0;
  bool m_isStopped = false;
  bool m_isCut = false;
};

}  // namespace console

#endif
