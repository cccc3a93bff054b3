// A thread that writes to a descriptor which cannot be written without waiting.
#ifndef DEVICE_LOGGING_LOG_RELAY_H
#define DEVICE_LOGGING_LOG_RELAY_H

#include "log_format.h"

namespace logging {

/// Takes bytes at a socket and writes them to the descriptor in a thread of its own, which waits
/// instead of the event loop. The thread only reads and writes: it calls nothing of the library,
/// and takes no signals. If it does not end in time, it is detached and ends with the process.
class LogRelay {
 public:
  /// Writes to `fd`, which is the caller's and must stay open. Throws std::system_error if the
  /// system gives no socket or no thread. `format` is that of the line about lost lines.
  LogRelay(int fd, const LogFormat& format);
  LogRelay(const LogRelay&) = delete;
  LogRelay& operator=(const LogRelay&) = delete;
  ~LogRelay();

  /// The socket that takes the bytes; non-blocking, owned by this object.
  int Get() const { return m_socket; }
  /// Lets the thread write what it has, for this time at most. No more bytes are taken.
  void Finish(int milliseconds);

 private:
  int m_socket = -1;
};

}  // namespace logging

#endif
