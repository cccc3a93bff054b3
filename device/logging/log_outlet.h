// Writes the log to its descriptor, without ever waiting.
#ifndef DEVICE_LOGGING_LOG_OUTLET_H
#define DEVICE_LOGGING_LOG_OUTLET_H

#include <sys/types.h>

#include <cstddef>
#include <memory>

#include "device/program/owned_descriptor.h"
#include "log_format.h"
#include "log_relay.h"

namespace logging {

/// Writes to a descriptor that may be shared with other processes. Its mode is not changed:
/// non-blocking mode belongs to the open file description and would make the others lose output.
/// What it does depends on the kind of descriptor:
///
///   a file          is written as it is: it has no reader that could stop
///   a socket        is sent to, since a call can ask not to wait
///   a pipe, a terminal, another device
///                   is opened anew, for a description of the daemon's own
///   what cannot be opened anew (it belongs to another user, or a terminal's name is unknown here)
///                   is left to a thread
class LogOutlet {
 public:
  /// The descriptor is the caller's and must stay open. `format` is as LogRelay's. Throws
  /// std::system_error when a thread is needed and cannot be had.
  LogOutlet(int fd, const LogFormat& format);

  /// Returns how many bytes have been taken; negative, with errno set, if none were. EAGAIN means:
  /// try again when GetRoom() is readable.
  ssize_t Write(const char* bytes, std::size_t size);
  /// A descriptor that is readable while there is room; negative if the system gave none.
  int GetRoom() const { return m_room.Get(); }
  /// Waits for room, for this time at most.
  void AwaitRoom(int milliseconds) const;
  /// Waits until what has been taken is written, for this time at most. Must be the last call.
  void Finish(int milliseconds);

 private:
  const bool m_isSocket;
  const program::OwnedDescriptor m_own;
  std::unique_ptr<LogRelay> m_relay;
  const int m_fd;  // the one to write to
  const program::OwnedDescriptor m_room;
};

}  // namespace logging

#endif
