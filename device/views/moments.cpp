#include "moments.h"

#include <cstdio>
#include <ctime>

namespace views {

namespace {

constexpr std::uint64_t MINUTE = 60;
constexpr std::uint64_t HOUR = 60 * MINUTE;
constexpr std::uint64_t DAY = 24 * HOUR;
constexpr std::uint64_t WEEK = 7 * DAY;

}  // namespace

std::string DescribeMoment(std::int64_t milliseconds) {
  // Rounded down, so that the rest is positive before the epoch, too.
  const std::int64_t rest = (milliseconds % 1000 + 1000) % 1000;
  const std::time_t seconds = (milliseconds - rest) / 1000;
  std::tm parts{};
  if (gmtime_r(&seconds, &parts) == nullptr) {
    return {};
  }
  char date[64] = "";
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
  char text[80] = "";
  std::snprintf(text, sizeof text, "%s.%03dZ", date, static_cast<int>(rest));
  return text;
}

std::int64_t FindSecond(std::uint64_t then, std::uint64_t now, std::int64_t clock) {
  const std::int64_t began = clock - static_cast<std::int64_t>(now);
  const std::int64_t milliseconds = began + static_cast<std::int64_t>(then) * 1000;
  return std::min((milliseconds + 999) / 1000, clock / 1000);
}

std::string DescribeSpan(std::uint64_t seconds) {
  const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
  char text[64] = "";
  if (seconds < DAY) {
    std::snprintf(text, sizeof text, "%02llu:%02llu:%02llu", number(seconds / HOUR),
                  number(seconds % HOUR / MINUTE), number(seconds % MINUTE));
  } else if (seconds < WEEK) {
    std::snprintf(text, sizeof text, "%llud%02lluh%02llum", number(seconds / DAY),
                  number(seconds % DAY / HOUR), number(seconds % HOUR / MINUTE));
  } else {
    std::snprintf(text, sizeof text, "%02lluw%llud%02lluh", number(seconds / WEEK),
                  number(seconds % WEEK / DAY), number(seconds % DAY / HOUR));
  }
  return text;
}

}  // namespace views
