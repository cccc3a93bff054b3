// What views need to know of the process that they are in.
#ifndef DEVICE_VIEWS_HOST_H
#define DEVICE_VIEWS_HOST_H

#include <cstddef>
#include <cstdint>
#include <functional>

#include "device/loop/loop.h"

namespace views {

/// The functions are called on the loop's thread and must be cheap; each may be empty.
struct Host {
  loop::Loop& loop;  // borrowed
  /// When the process was started, in seconds since the epoch.
  std::int64_t started = 0;
  /// The version of the console's protocol that its clients speak; 0 for no console.
  unsigned short consoleVersion = 0;
  std::function<std::size_t()> countSessions = {};
  std::function<std::uint64_t()> countLostLines = {};  // of the log
};

/// 0 if the system does not tell.
std::uint64_t FindResidentBytes();

/// How long the process has been running.
std::uint64_t FindUptimeSeconds(const Host& host);

}  // namespace views

#endif
