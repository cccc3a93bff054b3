// What one configuration says of one protocol of a VLAN.
#ifndef DEVICE_PLAN_PROTOCOL_SIDE_H
#define DEVICE_PLAN_PROTOCOL_SIDE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "device/documents/members.h"
#include "sides.h"
#include "words.h"

namespace plan {

/// Identifies a row as routers do: by its list, the numbers of its name, and the number that its key
/// has besides. The list is a member of the protocol's object, by its place there.
struct RowKey {
  std::size_t list = 0;
  std::array<std::uint32_t, 3> numbers{};
  std::uint32_t more = 0;

  friend bool operator<(const RowKey& a, const RowKey& b) {
    return std::tie(a.list, a.numbers, a.more) < std::tie(b.list, b.numbers, b.more);
  }
};

/// Where a row's object is.
struct RowAt {
  const documents::ConfigFile* file = nullptr;
  Tarsel::OptionsNode node;
  std::string name;       // the row's own
  std::string element;    // its name in its list; empty in an array
  std::size_t index = 0;  // in its list
};

/// The documents together: a row that several have is that of the last one, as routers have it. A
/// protocol runs if the VLAN document enables it. Then rows of all documents count.
struct ProtocolSide {
  bool isRunning = false;
  std::map<RowKey, RowAt> rows;
  /// Of the protocol itself, by their names. What is not said has its standard.
  std::map<std::string, Attribute> members;
};

/// `member` is the protocol's member of an entry.
ProtocolSide ReadProtocol(const VlanSide& side, const documents::Member& member);

/// What a row's own members say. `row` is the shape of the list's objects.
Attributes AttributesOf(const RowAt& at, const documents::Object& row);

/// The member of a row that tells its name; null if the list's objects are not rows.
const documents::Member* FindRowName(const documents::Member& list);

/// Where the row is: its path and, if it belongs to an interface, the position of its name.
documents::Place PlaceOf(const RowAt& at, unsigned short vlan, const documents::Member& protocol,
                         const documents::Member& list);

}  // namespace plan

#endif
