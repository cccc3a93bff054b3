// Redistribution rules: installed routes of the source protocol are handed to the destination
// protocol of the same instance. Row status 1 or 4 creates the row or overwrites its admin status,
// 6 removes it. A rule whose admin status is down is kept and hands nothing over.
//
// Refused for good are an unknown row status and an admin status other than up and down (wrong
// value). A rule of an instance that does not exist may be tried again. The protocol codes are not
// checked: the routing table does not know which protocols run.

#include "requests.h"
#include "vantacore/dcrouter_api.h"

namespace routing_stack {

unsigned int RedistributionRequest::Apply(Tables& tables) const {
  if (rowStatus == kDestroy) {
    return tables.RemoveRedistribution(key) ? kDone : kAbsent;
  }
  if (!Creates(rowStatus) || !IsAdminStatus(adminStatus)) {
    return kWrongValue;
  }
  if (tables.FindInstance(key.instance) == nullptr) {
    return kRetry;
  }
  const bool isThere = tables.Redistributions().count(key) != 0;
  const unsigned int room = isThere ? static_cast<unsigned int>(kDone)
                                    : tables.RoomFor(kType, tables.Redistributions().size());
  if (room == kDone) {
    tables.StoreRedistribution(key, adminStatus);
  }
  return room;
}

void RedistributionRequest::Answer(unsigned int status) const {
  cSetRedistState(static_cast<unsigned int>(rowStatus), static_cast<unsigned int>(adminStatus),
                  key.source, key.destination, 0, key.instance, 0, status);
}

}  // namespace routing_stack
