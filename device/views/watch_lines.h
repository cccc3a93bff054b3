// The lines that tell of events.
#ifndef DEVICE_VIEWS_WATCH_LINES_H
#define DEVICE_VIEWS_WATCH_LINES_H

#include <cstdint>
#include <string>

#include "device/keepers/interfaces.h"
#include "event.h"
#include "json.h"

namespace views {

/// A line for each event: its time, its VLAN, what it is, its result and its cause. Of an IPv4 or
/// ordinary IPv6 route it fits 80 columns.
class EventLines {
 public:
  /// Borrowed: for the names of interfaces, as they are when the line is written.
  explicit EventLines(const keepers::Interfaces& interfaces) : m_interfaces(interfaces) {}

  void Write(const Event& event, std::string& text) const;
  void Write(const Event& event, Json& json) const;

  /// Events that are missing here.
  static void WriteLeftOut(std::uint64_t count, std::string& text);
  static void WriteLeftOut(std::uint64_t count, Json& json);

 private:
  const keepers::Interfaces& m_interfaces;
};

}  // namespace views

#endif
