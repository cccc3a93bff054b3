// What stands before each line of the log.
#ifndef DEVICE_LOGGING_LOG_FORMAT_H
#define DEVICE_LOGGING_LOG_FORMAT_H

#include <array>
#include <ctime>
#include <string>

#include "log_components.h"

namespace logging {

/// How grave a line is: the priorities of a system's log.
enum class Severity { ERROR = 3, WARNING = 4, NOTICE = 5, INFO = 6, DEBUG = 7 };

/// Logs a line of the host without a level, given without its end, that is as grave as this.
void LogAs(Severity severity, const std::string& line);

/// By the level of a message, or Tarsel::TRACE_NO_LEVEL. Without one, the library and the stack
/// tell of configuration that is passed over, and the host of what it does, unless LogAs says
/// otherwise.
Severity SeverityOf(int level, Component component);

/// A message's lines as the log has them:
///
///   PLAIN    the text alone
///   FULL     2026-11-22T10:15:00.123+01:00 warning library: TEXT
///   JOURNAL  <4>TEXT, for a reader that adds the time itself
///
/// The text stays as it is, to the byte, except that one without an end of line gets it unless the
/// format is PLAIN: what follows begins with its own time. Objects may be copied, and used in
/// several threads.
class LogFormat {
 public:
  enum class Kind { PLAIN, FULL, JOURNAL };
  /// Tells the time.
  using Clock = std::timespec (*)();

  explicit LogFormat(Kind kind = Kind::PLAIN, Clock clock = ReadClock);

  /// Its prefix. Needs no memory.
  std::array<char, 128> MakePrefix(Severity severity, Component component) const;
  /// Returns the message with a prefix before each of its lines, empty ones too.
  std::string Apply(Severity severity, Component component, std::string message) const;

  static std::timespec ReadClock();

 private:
  Kind m_kind;
  Clock m_clock;
};

/// The format where none is named: JOURNAL if the descriptor is the journal's stream, as
/// `journalStream` says, the value of $JOURNAL_STREAM; null if that is not set. It holds the device
/// and the inode of the stream, and stays in the environment when the descriptor is redirected.
/// Otherwise PLAIN.
LogFormat::Kind FindLogKind(int fd, const char* journalStream);

}  // namespace logging

#endif
