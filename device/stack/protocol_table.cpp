// Rows of the protocols' own tables. Row status 1 or 4 creates the row or overwrites it, 6 removes
// it. The refusals are those of the redistribution rules; an empty key and one that is too long are
// wrong values, too.

#include "protocol_table.h"
#include "protocol_rows.h"
#include "requests.h"

namespace routing_stack {

namespace {

// Registered by another library when it is loaded or set up, before or after any stack exists.
sms_protocol_answer g_answer = nullptr;

}  // namespace

void SetProtocolAnswer(sms_protocol_answer answer) { g_answer = answer; }

Oid ProtocolRequest::GetOid() const {
  // No bytes were read from a null key, whatever length came with it.
  const auto* bytes = reinterpret_cast<const unsigned char*>(key.key.data());
  return ProtocolOid(key.table, key.instance, key.key.empty() ? nullptr : bytes, keyLength);
}

unsigned int ProtocolRequest::Apply(Tables& tables) const {
  const bool isStorable = keyLength != 0 && keyLength == key.key.size();
  if (rowStatus == kDestroy) {
    return isStorable && tables.RemoveProtocolRow(key) ? kDone : kAbsent;
  }
  if (!Creates(rowStatus) || !IsAdminStatus(adminStatus) || !isStorable) {
    return kWrongValue;
  }
  if (tables.FindInstance(key.instance) == nullptr) {
    return kRetry;
  }
  const bool isThere = tables.ProtocolRows().count(key) != 0;
  const unsigned int room = isThere ? static_cast<unsigned int>(kDone)
                                    : tables.RoomFor(kType, tables.ProtocolRows().size());
  if (room == kDone) {
    tables.StoreProtocolRow(key, {adminStatus, payload});
  }
  return room;
}

void ProtocolRequest::Answer(unsigned int status) const {
  if (g_answer != nullptr) {
    g_answer(key.table, key.instance, reinterpret_cast<const unsigned char*>(key.key.data()),
             static_cast<unsigned int>(key.key.size()), rowStatus, adminStatus, status);
  }
}

}  // namespace routing_stack
