// Interfaces. Row status 4 creates the row or overwrites all of it; 1 changes the operational
// status of a row that is there; 6 removes it. Any other row status changes nothing.

#include <utility>

#include "requests.h"

namespace routing_stack {

namespace {

constexpr std::uint32_t kDefaultMtu = 1500;

}  // namespace

unsigned int InterfaceRequest::Apply(Tables& tables) const {
  switch (rowStatus) {
    case kCreateAndGo:
      return Create(tables);
    case kActive:
      return SetStatus(tables);
    case kDestroy:
      return tables.RemoveInterface(key) ? kDone : kAbsent;
    default:
      return kWrongValue;
  }
}

unsigned int InterfaceRequest::Create(Tables& tables) const {
  const bool isThere = tables.Interfaces().count(key) != 0;
  const unsigned int room = isThere ? static_cast<unsigned int>(kDone)
                                    : tables.RoomFor(kType, tables.Interfaces().size());
  if (room == kDone) {
    tables.StoreInterface(key, {name, flags, operStatus, extra != 0 ? extra : kDefaultMtu});
  }
  return room;
}

unsigned int InterfaceRequest::SetStatus(Tables& tables) const {
  const auto row = tables.Interfaces().find(key);
  if (row == tables.Interfaces().end()) {
    return kAbsent;
  }
  InterfaceRow changed = row->second;
  changed.operStatus = operStatus;
  tables.StoreInterface(key, std::move(changed));
  return kDone;
}

}  // namespace routing_stack
