// The parts of the device that write the log, and how much of each is shown.
#ifndef DEVICE_LOGGING_LOG_COMPONENTS_H
#define DEVICE_LOGGING_LOG_COMPONENTS_H

#include <string_view>

namespace logging {

/// The numbers are those of the sources that the messages have (Tarsel::TraceSource).
enum class Component : unsigned int {
  HOST,     // the daemon itself, and whatever is not one of the others
  LIBRARY,  // libvantacore
  STACK,    // the routing stack and its protocol routers
};

/// "host", "library" or "stack".
const char* NameOf(Component component);

/// From now on each message has its component. Call it once, before the first is written.
void NameLogComponents();

/// Which component writes what the log takes now; for calls from inside a sink.
Component GetLogComponent();

/// Shows messages up to this level, 0 to 10: those of one component, or with an empty name those of
/// all. Returns false if there is no component of that name; then nothing changes.
bool SetLogLevel(unsigned int level, std::string_view component);

}  // namespace logging

#endif
