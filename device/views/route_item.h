// A row of `route` and `route6`.
#ifndef DEVICE_VIEWS_ROUTE_ITEM_H
#define DEVICE_VIEWS_ROUTE_ITEM_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host.h"
#include "tables.h"

namespace views {

/// Why a route is not installed.
enum class Reason : unsigned char {
  NONE,
  BEATEN,          // by `rival`
  NOT_REACHED,     // its next hop is not
  INTERFACE_DOWN,  // over which it would be: `ifIndex`
  SWITCHED_OFF,    // it is not asked to be in use
  CHOOSING,        // the stack has not chosen yet
  ACCEPTED,        // the stack tells no more of it
  TO_ASK,          // it is to be asked for
  ANSWER,          // it has been
  INSTANCE,        // its VLAN's routing table is not ready
  INTERFACE,       // the interface that it names does not exist
  VLAN,            // so with its VLAN
  MISSING,         // the stack has accepted it, and does not have it
  REFUSED          // with `status`
};

/// What is to become of a route that the stack has.
enum class Note : unsigned char {
  NONE,
  CHANGES,          // to `wantedMetric`
  CHANGE_REFUSED,   // so too, with `status`
  LEAVES,           // it has been asked or is to be asked to go
  REMOVAL_REFUSED,  // with `status`
  KEPT,             // it goes when another one of its prefix can take its place
  STRAY             // nobody has configured it
};

/// The route that has beaten one.
struct Rival {
  Protocol protocol = Protocol::CONNECTED;
  std::uint32_t distance = 0;
  std::uint32_t metric = 0;
  std::array<unsigned char, 16> gateway{};
};

/// A candidate of the stack, or a route that is wanted and that the stack does not have. Pointers
/// are good until the loop's next turn.
struct RouteItem {
  documents::RouteTarget target;
  Protocol protocol = Protocol::STATIC;
  Reason reason = Reason::NONE;
  Note note = Note::NONE;
  bool isInStack = false;
  bool isInstalled = false;
  bool isRivalTold = false;                // by its next hop, too: their preferences are equal
  std::uint32_t ifIndex = 0;               // over which it is reached, or as requested; 0 for none
  const std::string* interface = nullptr;  // of a route that waits for it: its name
  std::uint32_t distance = 0;              // of one in the stack
  std::uint32_t metric = 0;
  std::uint32_t ageSeconds = 0;           // so too
  std::uint32_t wantedMetric = 0;         // of a note
  unsigned int status = 0;                // of a refusal; 0 if none is known
  std::optional<std::uint32_t> nextTry;   // of a difference: in so many seconds
  std::optional<std::uint32_t> leavesIn;  // of one that is KEPT: at the latest, so too
  Rival rival;
  /// What the machine's kernel refuses of an installed one; null for nothing.
  std::shared_ptr<const KernelRefusal> kernel;

  bool IsWaiting() const {
    return (reason >= Reason::TO_ASK && reason <= Reason::MISSING) || note == Note::CHANGES ||
           note == Note::LEAVES;
  }
  bool IsRefused() const {
    return reason == Reason::REFUSED || note == Note::CHANGE_REFUSED ||
           note == Note::REMOVAL_REFUSED || kernel != nullptr;
  }
  /// `>` installed, `!` refused, `?` waits, else blank. What is in the stack shows by its note that
  /// it waits.
  char GetMark() const {
    return isInstalled                 ? '>'
           : reason == Reason::REFUSED ? '!'
           : reason >= Reason::TO_ASK  ? '?'
                                       : ' ';
  }
};

using RouteItems = std::vector<RouteItem>;

}  // namespace views

#endif
