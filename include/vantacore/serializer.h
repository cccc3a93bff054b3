// At most one request per row of the routing stack.
#ifndef VANTACORE_SERIALIZER_H
#define VANTACORE_SERIALIZER_H

#include <memory>

#include "vantacore/export.h"
#include "vantacore/mib_oid.h"

namespace Tarsel {

class MibAction;

/// Keeps a queue of requests for each row, and at most one request of a row in the stack. Rows are
/// independent of each other. Nothing is issued until the stack signals that it is ready. Issuing a
/// request may lead back into any operation of the serializer. The one serializer of the process is
/// a member of DcRouterMgr.
///
/// An action belongs to the serializer from Insert on. It is issued at most once and destroyed
/// right after; an action that is still queued when the queues are forgotten is not destroyed.
class VANTACORE_API Serializer {
 public:
  /// Not ready, without rows.
  Serializer();
  Serializer(const Serializer&) = delete;
  Serializer& operator=(const Serializer&) = delete;
  ~Serializer();

  /// Queues an action for a row. An idle row's action is issued at once (not shared) when the stack
  /// is ready. A null action only makes the row known. If there is no memory for the row's record,
  /// the action is lost: it is neither issued nor destroyed.
  void Insert(MibOid oid, MibAction* action);
  /// Issues the row's front action (shared). Returns non-zero if a request was issued; 0 if the row
  /// has no action, if its front action is in the stack already, or if the stack has not signalled
  /// ready yet.
  int Send(MibOid oid);
  /// Removes the row's front entry; a row without entries is forgotten.
  void Remove(MibOid oid);
  /// The stack has finished with the row: Remove, then Send, whose result is returned. `oid` may be
  /// null only if `len` is 0.
  int RunPendingAction(unsigned int* oid, unsigned int len);
  /// The stack is ready: issues every busy row's front action (shared), rows in the order in which
  /// they became busy. Returns the result of the last Send. A repeated signal issues nothing and
  /// returns 0.
  int RunPendingActions();
  /// Issues and destroys one action. Returns false if it is null or the stack is not ready yet; the
  /// action then stays the caller's.
  bool IssueMibRequest(MibAction* action, bool shared);
  /// Forgets all queues. A serializer that is ready stays so.
  void Reset();

 private:
  struct Rows;
  std::unique_ptr<Rows> m_rows;
};

}  // namespace Tarsel

#endif
