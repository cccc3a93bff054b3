// Interfaces. Row status 4 creates the row and sets all of it; 1 changes the operational status only,
// and nothing when the row is absent; 6 removes it. Any other row status changes nothing.

#include "requests.h"

namespace routing_stack {

namespace {

constexpr std::uint32_t kDefaultMtu = 1500;

}  // namespace

unsigned int InterfaceRequest::Apply(Tables& tables) const {
  const auto row = tables.interfaces.find(key);
  const bool isThere = row != tables.interfaces.end();
  switch (rowStatus) {
    case kCreateAndGo: {
      const unsigned int room = isThere ? static_cast<unsigned int>(kDone)
                                        : tables.RoomFor(kType, tables.interfaces.size());
      if (room != kDone) {
        return room;
      }
      tables.interfaces[key] = {name, flags, operStatus, extra != 0 ? extra : kDefaultMtu};
      break;
    }
    case kActive:
      if (!isThere) {
        return kAbsent;
      }
      row->second.operStatus = operStatus;
      break;
    case kDestroy:
      if (!isThere) {
        return kAbsent;
      }
      tables.interfaces.erase(row);
      break;
    default:
      return kWrongValue;
  }
  tables.InterfaceChanged(key);
  return kDone;
}

}  // namespace routing_stack
