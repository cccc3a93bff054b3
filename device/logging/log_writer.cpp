// Messages come out of the library's depth, which knows no exceptions, so none leaves from here:
// what there is no memory for is lost as well.
#include "log_writer.h"

#include <uv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <new>

#include "device/base/trace_control.h"
#include "device/program/printable.h"

namespace logging {

namespace {

// An assertion as the log has it; cut where it is longer.
using Text = std::array<char, 512>;

}  // namespace

LogWriter::LogWriter(uv_loop_s* loop, int fd, const LogFormat& format)
    : m_format(format), m_outlet(fd, format), m_room(loop, m_outlet.GetRoom()) {
  NameLogComponents();
  Tarsel::SetTraceSink(
      [this](int level, const std::string& message) { AddMessage(level, message); });
  Tarsel::SetAssertSink([this](const char* expression, const char* source, int line) {
    AddAssertion(expression, source, line);
  });
}

LogWriter::~LogWriter() {
  Tarsel::SetTraceSink(nullptr);
  Tarsel::SetAssertSink(nullptr);
  Flush();
}

// A message may quote a document.
void LogWriter::AddMessage(int level, const std::string& message) {
  const Component component = GetLogComponent();
  try {
    Add(WithLineEnds(
        m_format.Apply(SeverityOf(level, component), component, program::PrintableLines(message))));
  } catch (const std::bad_alloc&) {
    m_lost.Add(message, ENOMEM);
  }
}

std::string LogWriter::WithLineEnds(const std::string& text) const {
  if (!MakeWay()) {
    return text;
  }
  std::string lines;
  for (const char c : text) {
    lines += c == '\n' ? "\r\n" : std::string(1, c);
  }
  return lines;
}

void LogWriter::AddAssertion(const char* expression, const char* source, int line) {
  const auto prefix = m_format.MakePrefix(Severity::ERROR, GetLogComponent());
  Text text;
  const int size = std::snprintf(text.data(), text.size(), "%sAssertion failed: %s (%s:%d)\n",
                                 prefix.data(), expression, source, line);
  const std::size_t kept = std::min(static_cast<std::size_t>(size), text.size() - 1);
  text[kept - 1] = '\n';
  MakeWay();
  Add({text.data(), kept});
}

void LogWriter::Add(std::string_view text) {
  WriteWaiting();  // the loop has no occasion to, before it runs and during a long turn
  const std::string_view rest = IsClear() ? Write(text) : text;
  if (rest.empty()) {
    return;
  }
  const bool hasRoom = m_waiting.empty() || m_waiting.size() + rest.size() <= LIMIT;
  if (m_lost.IsEmpty() && m_problem == EAGAIN && hasRoom) {
    Keep(rest);
  } else {
    m_lost.Add(rest, m_problem);
  }
}

void LogWriter::WriteWaiting() {
  if (IsClear()) {
    return;
  }
  const std::string_view waiting = std::string_view(m_waiting).substr(m_written);
  std::string_view rest = Write(waiting);
  if (!rest.empty() && m_problem != EAGAIN) {
    m_lost.Add(rest, m_problem);
    rest = {};
  }
  m_written = m_waiting.size() - rest.size();
  if (rest.empty() || m_written > LIMIT / 2) {
    m_waiting.erase(0, m_written);
    m_waiting.shrink_to_fit();
    m_written = 0;
  }
  if (m_waiting.empty() && !m_lost.IsEmpty()) {
    TellLost();
  }
  Watch();
}

void LogWriter::TellLost() {
  const auto prefix = m_format.MakePrefix(Severity::WARNING, Component::HOST);
  const std::string_view line = m_lost.Format(m_isMidLine, prefix.data());
  const std::string_view rest = Write(line);
  if (rest.size() < line.size()) {
    m_lost.Clear();
    Keep(rest);
  }
}

// Whatever waits for room waits in the loop.
void LogWriter::Watch() {
  const bool isStopped = !IsClear() && m_problem == EAGAIN;
  m_room.Start(isStopped ? UV_READABLE : 0, [this](int) {
    MakeWay();
    WriteWaiting();
  });
}

void LogWriter::Flush() {
  using Clock = std::chrono::steady_clock;
  const auto last = Clock::now() + std::chrono::milliseconds(LONGEST_FLUSH_MILLISECONDS);
  auto end = Clock::now() + std::chrono::milliseconds(FLUSH_MILLISECONDS);
  const auto left = [&end, last] {
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::min(end, last) - Clock::now())
            .count());
  };
  WriteWaiting();
  while (!IsClear() && m_problem == EAGAIN && left() > 0) {
    m_outlet.AwaitRoom(left());
    const std::size_t before = m_waiting.size() - m_written;
    WriteWaiting();
    if (m_waiting.size() - m_written != before) {
      end = Clock::now() + std::chrono::milliseconds(FLUSH_MILLISECONDS);
    }
  }
  m_outlet.Finish(std::max(left(), 0));
}

// What of the text has not been taken.
std::string_view LogWriter::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = m_outlet.Write(text.data(), text.size());
    if (count > 0) {
      m_isMidLine = text[static_cast<std::size_t>(count) - 1] != '\n';
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      m_problem = errno;
      break;
    }
  }
  return text;
}

void LogWriter::Keep(std::string_view text) {
  try {
    m_waiting.append(text);
  } catch (const std::bad_alloc&) {
    m_problem = ENOMEM;
    m_lost.Add(text, m_problem);
  }
  Watch();
}

}  // namespace logging
