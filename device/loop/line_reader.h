// Reads lines from a descriptor of any kind, without ever waiting for it.
#ifndef DEVICE_LOOP_LINE_READER_H
#define DEVICE_LOOP_LINE_READER_H

#include <functional>
#include <optional>
#include <string>

#include "loop_handles.h"

namespace loop {

class LineReader {
 public:
  /// The descriptor is the caller's and must stay open. Pipes and sockets are watched. A file is
  /// always ready: a piece of it is read in each turn of the loop while a line is wanted.
  LineReader(uv_loop_s* loop, int fd);

  /// Calls back with the next line, without its end, or with nothing at the end of the input or on
  /// an error; from inside this call or later. The rest of a line longer than 4,096 bytes is
  /// dropped. Do not call it again before it has called back.
  void Next(std::function<void(const std::optional<std::string>& line)> callback);
  /// Whether the lines ended because the descriptor could not be read.
  bool HasFailed() const { return m_hasFailed; }

 private:
  bool TakeLine(std::string& line);
  void Read();
  void Look();

  int m_fd;
  Poll m_poll;
  Task m_turn;  // to read again, where there is nothing to watch
  std::function<void(const std::optional<std::string>&)> m_callback;
  std::string m_buffer;
  bool m_isSkipping = false;  // the rest of a line that was too long
  bool m_isAtEnd = false;
  bool m_hasFailed = false;
};

}  // namespace loop

#endif
