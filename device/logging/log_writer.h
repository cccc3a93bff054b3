// The log's way to its reader, who may have stopped reading.
#ifndef DEVICE_LOGGING_LOG_WRITER_H
#define DEVICE_LOGGING_LOG_WRITER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "device/loop/loop_handles.h"
#include "log_format.h"
#include "log_outlet.h"
#include "lost_lines.h"

namespace logging {

/// While it lives, everything that is logged goes through it, assertions too. If the reader keeps
/// up, each message is written at once, so that it keeps its place among other output. Otherwise
/// messages wait, in their order, and the event loop writes them when there is room. When LIMIT is
/// reached, lines are lost until everything that waits has been written; then a line says how many.
/// Only the destructor waits for the reader: until that has taken nothing for FLUSH_MILLISECONDS,
/// and for LONGEST_FLUSH_MILLISECONDS at most.
///
/// A line that cannot be written for another reason (a full disk) is lost and reported in the same
/// way.
class LogWriter {
 public:
  /// How many bytes may wait. At least half of them are available at any time; the rest may hold
  /// bytes that have been written and not removed yet.
  static constexpr std::size_t LIMIT = 8 * 1024 * 1024;
  static constexpr int FLUSH_MILLISECONDS = 200;
  static constexpr int LONGEST_FLUSH_MILLISECONDS = 2000;

  /// Writes to `fd`, which is the caller's and must stay open. Lines are also taken before the loop
  /// runs. Throws std::system_error if the log cannot be written without waiting.
  LogWriter(uv_loop_s* loop, int fd, const LogFormat& format);
  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;
  ~LogWriter();

  /// Somebody edits a line on the terminal that the log goes to: `makeWay` is called before
  /// something is written, and returns whether ends of lines take a carriage return then. It must
  /// not log. Empty: nobody does any more.
  void ShareTerminal(std::function<bool()> makeWay) { m_makeWay = std::move(makeWay); }

  /// How many lines have been lost so far.
  std::uint64_t CountLost() const { return m_lost.CountAll(); }

 private:
  void AddMessage(int level, const std::string& message);
  void AddAssertion(const char* expression, const char* source, int line);
  void Add(std::string_view text);
  bool MakeWay() const { return m_makeWay && m_makeWay(); }
  std::string WithLineEnds(const std::string& text) const;
  void WriteWaiting();
  void TellLost();
  void Watch();
  void Flush();
  std::string_view Write(std::string_view text);
  void Keep(std::string_view text);
  bool IsClear() const { return m_waiting.empty() && m_lost.IsEmpty(); }

  const LogFormat m_format;
  std::function<bool()> m_makeWay;
  LogOutlet m_outlet;
  loop::Poll m_room;
  std::string m_waiting;      // whole messages; the first may lack its beginning
  std::size_t m_written = 0;  // how many bytes of m_waiting have been
  int m_problem = 0;          // why the last write did not take everything
  bool m_isMidLine = false;   // the reader has the beginning of a line only
  LostLines m_lost;           // that nobody has been told of
};

}  // namespace logging

#endif
