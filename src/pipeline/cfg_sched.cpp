// The configuration scheduler.
//
// Buckets of items, in the order of their keys; each bucket keeps its items in an order that is
// part of the behaviour (cfg_bucket.h). An item is New until a pass sends it, then Issued until the
// stack answers. Then Remove deletes it, or Update makes it New again for a later pass or leaves it
// Issued until a Remove. A bucket lives from the first Insert under its key until a pass or a
// Remove finds it empty.
//
// A pass examines at most 31 New items, so that a large configuration reaches the stack in slices,
// and the next pass starts with the bucket after the one where the last one stopped.
//
// An item's Send, SetInMib, CfgListReady and CfgItemReady are calls into other code: a stack, or
// another library, may answer at once and call any operation of the scheduler from inside.
// Therefore a pass keeps its place as a key and a cursor, which is moved on when its node is
// removed, and an item that is removed while it is being called is unlinked at once but deleted
// when that call has returned.
#include "vantacore/cfg_sched.h"

#include <iterator>

#include "cfg_bucket.h"
#include "host/dc_console.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

constexpr unsigned int EXAMINED_PER_PASS = 31;
constexpr std::uint32_t MAX_RETRIES = 9;
constexpr unsigned int STATUS_SUCCESS = 1;
constexpr CfgKey FIRST_BUCKET = {1, 0};

}  // namespace

CfgSched* g_cfgsched = nullptr;

bool CfgKeyCompare::operator()(const CfgKey& a, const CfgKey& b) const {
  return a.instance != b.instance ? a.instance < b.instance : a.rowType < b.rowType;
}

// A walk over a bucket.
struct CfgSched::Walk {
  CfgBucket* bucket;  // null once it has been erased
  CfgNode* cursor;    // what comes next
  Walk* outer;
};

// A call of an item that may lead back into the scheduler.
struct CfgSched::Call {
  CfgItem* item;
  bool dropped;  // to be deleted when the call has returned
  Call* outer;
};

CfgSched::CfgSched()
    : PeriodicTimer("CfgScheduler"), m_resumeKey(FIRST_BUCKET), m_walk(nullptr), m_call(nullptr) {
  SetCallback(new MemberCallback2<CfgSched, unsigned int, void*>(this, &CfgSched::OnTimeout));
}

CfgSched::~CfgSched() {
  Reset();
  for (const auto& entry : m_buckets) {
    for (CfgNode* node = entry.second->GetFront(); node != nullptr; node = node->next) {
      delete node->item;
    }
    delete entry.second;
  }
}

void CfgSched::Insert(CfgKey key, CfgItem* item) {
  if (item == nullptr) {
    return;
  }
  auto position = m_buckets.find(key);
  if (position == m_buckets.end()) {
    // The bucket first: if there is no memory for it, the table must not keep an entry without one.
    CfgBucket* const made = new CfgBucket;
    position = m_buckets.emplace(key, made).first;
  }
  CfgBucket* const bucket = position->second;
  const CfgBucket::Row row(item->GetOid());
  CfgNode* last = bucket->FindLast(row);
  bucket->Disturb();
  if (last != nullptr && item->Replace(last->item)) {
    // The front entry is the last one that a search from the back reaches.
    TRACE(5, "REPLACED ------- %d item.............\n", last == bucket->GetFront() ? 2 : 1);
    MoveOn(last);
    Delete(bucket->ReplaceLast(last, item));
  } else {
    bucket->Append(item, row, last);
  }
  if (!IsRunning()) {
    Start(TICKS_BETWEEN_PASSES);
  }
}

// Which answers ask for a retry is the caller's to say: for routes and rules src/rtm/requests.cpp.
void CfgSched::Update(CfgKey key, CfgItem* item, unsigned int status, bool retry) {
  const auto position = m_buckets.find(key);
  if (item == nullptr || position == m_buckets.end()) {
    return;
  }
  CfgItem* found = position->second->FindFirstIssued(CfgBucket::Row(item->GetOid()));
  if (found == nullptr) {
    return;
  }
  found->SetReasonCode(status);
  if (status != STATUS_SUCCESS) {
    found->SetRetryCount(found->GetRetryCount() + 1);
  }
  if (retry && found->GetRetryCount() <= MAX_RETRIES) {
    found->SetActionState(CfgItem::NEW);
  }
}

void CfgSched::Remove(CfgKey key, CfgItem* item, unsigned int status) {
  auto position = m_buckets.find(key);
  if (item == nullptr || position == m_buckets.end()) {
    return;
  }
  CfgNode* node = position->second->FindFirst(CfgBucket::Row(item->GetOid()));
  if (node != nullptr) {
    CfgItem* found = node->item;
    if (Guard(found, [found, status] { found->SetInMib(true, status); }) &&
        found->GetActionState() == CfgItem::ISSUED) {
      TRACE(5, "Removing the handle\n");
      Delete(Unlink(position->second, node));
    }
  }
  position = m_buckets.find(key);
  if (position != m_buckets.end() && position->second->IsEmpty()) {
    Erase(position);
  }
}

// Moves every walk whose next node this is on to the one after it: the node is about to leave its
// place.
void CfgSched::MoveOn(const CfgNode* node) {
  for (Walk* walk = m_walk; walk != nullptr; walk = walk->outer) {
    if (walk->cursor == node) {
      walk->cursor = node->next;
    }
  }
}

// Removes the node from the bucket and returns its item.
CfgItem* CfgSched::Unlink(CfgBucket* bucket, CfgNode* node) {
  MoveOn(node);
  CfgItem* item = node->item;
  bucket->Unlink(node);
  return item;
}

// Makes the call; false if the item has been deleted during it.
template <class Operation>
bool CfgSched::Guard(CfgItem* item, Operation operation) {
  Call call{item, false, m_call};
  m_call = &call;
  operation();
  m_call = call.outer;
  if (call.dropped) {
    Delete(item);
  }
  return !call.dropped;
}

// Deletes an item that is no longer in a bucket: at once, or after the calls of it have returned.
void CfgSched::Delete(CfgItem* item) {
  bool called = false;
  for (Call* call = m_call; call != nullptr; call = call->outer) {
    if (call->item == item) {
      call->dropped = true;
      called = true;
    }
  }
  if (!called) {
    delete item;
  }
}

void CfgSched::Erase(Buckets::iterator position) {
  for (Walk* walk = m_walk; walk != nullptr; walk = walk->outer) {
    if (walk->bucket == position->second) {
      walk->bucket = nullptr;
    }
  }
  delete position->second;
  m_buckets.erase(position);
}

void CfgSched::OnTimeout(unsigned int, void*) {
  auto position = m_buckets.find(m_resumeKey);
  if (position == m_buckets.end()) {
    position = m_buckets.begin();
  }
  unsigned int examined = 0;
  while (position != m_buckets.end()) {
    if (position->second->IsQuiet()) {
      ++position;
      continue;
    }
    const CfgKey key = position->first;
    const auto following = std::next(position);
    const bool isLast = following == m_buckets.end();
    const CfgKey next = isLast ? FIRST_BUCKET : following->first;
    if (!WalkBucket(position->second, examined)) {
      m_resumeKey = next;
      return;
    }
    position = m_buckets.find(key);
    if (position != m_buckets.end() && position->second->IsEmpty()) {
      Erase(position);
    }
    position = isLast ? m_buckets.end() : m_buckets.lower_bound(next);
  }
  m_resumeKey = FIRST_BUCKET;
}

// Whether the pass may go on after this bucket.
bool CfgSched::WalkBucket(CfgBucket* bucket, unsigned int& examined) {
  Walk walk{bucket, bucket->GetFront(), m_walk};
  m_walk = &walk;
  bucket->StartPass();
  ExamineItems(walk, examined);
  const bool goOn = examined < EXAMINED_PER_PASS;
  if (walk.bucket != nullptr && goOn) {
    bucket->EndPass();
  } else if (walk.bucket != nullptr) {
    // A pass may run inside another one over the same bucket, and both use the bucket's one mark of
    // their start. This one has been cut short, so the outer one must not end as undisturbed.
    bucket->Disturb();
  }
  m_walk = walk.outer;
  return goOn;
}

void CfgSched::ExamineItems(Walk& walk, unsigned int& examined) {
  // One record serves the question to every item: most may have been issued long ago and are only
  // asked.
  Call question{nullptr, false, m_call};
  m_call = &question;
  while (walk.cursor != nullptr && examined < EXAMINED_PER_PASS) {
    CfgNode* node = walk.cursor;
    CfgItem* item = node->item;
    question.item = item;
    const bool isReady = item->CfgListReady();
    question.item = nullptr;
    const bool isGone = question.dropped;
    if (isGone) {
      question.dropped = false;
      Delete(item);
    }
    if (!isReady) {
      if (walk.bucket != nullptr) {
        walk.bucket->Disturb();
      }
      break;
    }
    if (isGone) {  // the cursor has been moved on
      continue;
    }
    walk.cursor = node->next;
    if (item->GetActionState() == CfgItem::NEW) {
      ++examined;
      if (!ExamineNew(walk.bucket, node)) {
        walk.bucket->Disturb();
      }
    }
  }
  m_call = question.outer;
}

// Sends the item of the node, drops it or leaves it; false when it stays New.
bool CfgSched::ExamineNew(CfgBucket* bucket, CfgNode* node) {
  CfgItem* item = node->item;
  bool isReady = false;
  if (!Guard(item, [item, &isReady] { isReady = item->CfgItemReady(); })) {
    return true;
  }
  if (isReady) {
    TRACE(5, "OnTIMEOUT Sending MIB ACTION\n");
    return !Guard(item, [item] { item->Send(); }) || item->GetActionState() != CfgItem::NEW;
  }
  if (!item->RemoveOnNotReady()) {
    return false;
  }
  Delete(Unlink(bucket, node));
  return true;
}

void CfgSched::Reset() {
  for (const auto& entry : m_buckets) {
    for (CfgNode* node = entry.second->GetFront(); node != nullptr; node = node->next) {
      node->item->SetReasonCode(0);
      node->item->SetActionState(CfgItem::NEW);
      node->item->SetRetryCount(0);
    }
  }
}

int CfgSched::HasInFlight(CfgKey key, unsigned int a, unsigned int b) {
  const auto position = m_buckets.find(key);
  if (position == m_buckets.end()) {
    return 0;
  }
  const CfgNode* node = position->second->GetFront();
  for (; node != nullptr; node = node->next) {
    if (node->item->GetActionState() == CfgItem::ISSUED && node->item->IsInFlight(a, b)) {
      return 1;
    }
  }
  return 0;
}

int CfgSched::RouteMapInFlight(CfgKey key, unsigned int a, unsigned int b) {
  return HasInFlight(key, a, b);
}

int CfgSched::AggrAddrInFlight(CfgKey key, unsigned int a, unsigned int b) {
  return HasInFlight(key, a, b);
}

void CfgSched::Print(DcConsole* console) {
  unsigned int number = 0;
  for (const auto& entry : m_buckets) {
    const CfgNode* node = entry.second->GetFront();
    for (; node != nullptr; node = node->next) {
      console->Print("==== Item %u ====\n", number++);
      node->item->PrintItem(console);
      console->Print("\n");
    }
  }
}

void CfgSched::PrintSummary(DcConsole* console) {
  console->Print("Pending Item Buckets: %lu\n", static_cast<unsigned long>(m_buckets.size()));
}

}  // namespace Tarsel
