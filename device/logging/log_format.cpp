#include "log_format.h"

#include <sys/stat.h>

#include <cstdio>

#include "device/base/trace_control.h"
#include "tarsel/trace.h"

namespace logging {

namespace {

Severity g_hostSeverity = Severity::NOTICE;  // of a line without a level

constexpr long NANOSECONDS_A_MILLISECOND = 1000000;
constexpr long SECONDS_A_MINUTE = 60;
constexpr long MINUTES_AN_HOUR = 60;

const char* NameOf(Severity severity) {
  switch (severity) {
    case Severity::ERROR:
      return "error";
    case Severity::WARNING:
      return "warning";
    case Severity::NOTICE:
      return "notice";
    case Severity::INFO:
      return "info";
    default:
      return "debug";
  }
}

// "2026-11-22T10:15:00.123+01:00" or, without a local time, the seconds since the epoch.
std::array<char, 96> TimeText(const std::timespec& now) {
  std::array<char, 96> text{};
  std::tm local{};
  const long milliseconds = now.tv_nsec / NANOSECONDS_A_MILLISECOND;
  if (localtime_r(&now.tv_sec, &local) == nullptr) {
    std::snprintf(text.data(), text.size(), "%lld.%03ld", static_cast<long long>(now.tv_sec),
                  milliseconds);
    return text;
  }
  const bool isWest = local.tm_gmtoff < 0;
  const long minutes = (isWest ? -local.tm_gmtoff : local.tm_gmtoff) / SECONDS_A_MINUTE;
  std::array<char, 24> moment{};
  std::strftime(moment.data(), moment.size(), "%Y-%m-%dT%H:%M:%S", &local);
  std::snprintf(text.data(), text.size(), "%s.%03ld%c%02ld:%02ld", moment.data(), milliseconds,
                isWest ? '-' : '+', minutes / MINUTES_AN_HOUR, minutes % MINUTES_AN_HOUR);
  return text;
}

}  // namespace

void LogAs(Severity severity, const std::string& line) {
  g_hostSeverity = severity;
  Tarsel::TRACE("%s\n", line.c_str());
  g_hostSeverity = Severity::NOTICE;
}

Severity SeverityOf(int level, Component component) {
  if (level == Tarsel::TRACE_NO_LEVEL) {
    return component == Component::HOST ? g_hostSeverity : Severity::WARNING;
  }
  if (level <= 1) {
    return level <= 0 ? Severity::ERROR : Severity::WARNING;
  }
  if (level < 5) {
    return Severity::NOTICE;
  }
  return level < 10 ? Severity::INFO : Severity::DEBUG;
}

// The zone is looked up now: later there may be no memory for that.
LogFormat::LogFormat(Kind kind, Clock clock) : m_kind(kind), m_clock(clock) { tzset(); }

std::array<char, 128> LogFormat::MakePrefix(Severity severity, Component component) const {
  std::array<char, 128> prefix{};
  if (m_kind == Kind::JOURNAL) {
    std::snprintf(prefix.data(), prefix.size(), "<%d>", static_cast<int>(severity));
  } else if (m_kind == Kind::FULL) {
    std::snprintf(prefix.data(), prefix.size(), "%s %s %s: ", TimeText(m_clock()).data(),
                  NameOf(severity), NameOf(component));
  }
  return prefix;
}

std::string LogFormat::Apply(Severity severity, Component component, std::string message) const {
  if (m_kind == Kind::PLAIN) {
    return message;
  }
  const std::array<char, 128> prefix = MakePrefix(severity, component);
  if (message.empty() || message.back() != '\n') {
    message += '\n';
  }
  std::string text;
  for (std::size_t begin = 0; begin < message.size();) {
    const std::size_t end = message.find('\n', begin) + 1;
    text.append(prefix.data()).append(message, begin, end - begin);
    begin = end;
  }
  return text;
}

std::timespec LogFormat::ReadClock() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

LogFormat::Kind FindLogKind(int fd, const char* journalStream) {
  struct stat found {};
  if (journalStream == nullptr || fstat(fd, &found) != 0) {
    return LogFormat::Kind::PLAIN;
  }
  const std::string stream = std::to_string(found.st_dev) + ":" + std::to_string(found.st_ino);
  return journalStream == stream ? LogFormat::Kind::JOURNAL : LogFormat::Kind::PLAIN;
}

}  // namespace logging
