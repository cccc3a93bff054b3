// What happens on the device, for those who watch it.
#ifndef DEVICE_VIEWS_EVENT_H
#define DEVICE_VIEWS_EVENT_H

#include <cstdint>
#include <string>
#include <variant>

#include "device/documents/route.h"
#include "device/rows/row.h"
#include "tables.h"

namespace views {

/// What a change came from; causes.h says how that is found.
enum class Cause { DOCUMENT, CONSOLE, INTERFACE, STACK };

/// A change of the forwarding table.
struct RouteEvent {
  enum class How { CAME, REPLACED, GONE };
  How how = How::CAME;
  documents::RouteTarget target;  // of one that has gone, without the gateway
  // Not known of one that has gone.
  Protocol protocol = Protocol::STATIC;
  std::uint32_t ifIndex = 0;  // over which it is reached; 0 for none
  std::uint32_t metric = 0;
};
/// The stack has answered a request.
struct RequestEvent {
  rows::Row row;
  bool ip6 = false;        // of its instance: an interface has a row in each of the two
  bool isRemoval = false;  // the row was to go
  /// The stack's answer; 0 for a request that was never answered and is not waited for any more.
  unsigned int status = 1;
};
/// An interface or one of its addresses has changed.
struct InterfaceEvent {
  enum class How {
    ADDED,
    CHANGED,  // its flags or its MTU
    REMOVED,
    UP,
    DOWN,
    ADDRESS_ADDED,
    ADDRESS_CHANGED,
    ADDRESS_REMOVED,
    JOINED,  // a remote has
    LEFT
  };
  How how = How::ADDED;
  std::string interface;  // its name
  std::string address;    // with its length, if it is about one
};
/// What the device says of reloads and the like: the log's line without its end.
struct ReloadEvent {
  std::string line;
};
/// The stack has lost everything, its forwarding table included, without further events. What comes
/// again afterwards is told. Every watcher hears this, whatever it watches.
struct RestartEvent {};

/// The first ones are in the order of WatchQuery::Kind.
using What = std::variant<RouteEvent, RequestEvent, InterfaceEvent, ReloadEvent, RestartEvent>;

/// Whether it happens in a VLAN. The others concern the whole device.
inline bool HasVlan(const What& what) {
  return !std::holds_alternative<ReloadEvent>(what) && !std::holds_alternative<RestartEvent>(what);
}

struct Event {
  std::int64_t milliseconds = 0;  // since the epoch
  unsigned short vlan = 0;        // of what HasVlan; any number is a VLAN's, 0 too
  Cause cause = Cause::STACK;
  What what;
};

}  // namespace views

#endif
