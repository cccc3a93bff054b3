// What the environment of the process says.
#ifndef DEVICE_DAEMON_ENVIRONMENT_H
#define DEVICE_DAEMON_ENVIRONMENT_H

#include <cstdlib>
#include <string>

namespace vantacored {

/// The value of a variable; empty if there is none.
inline std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace vantacored

#endif
