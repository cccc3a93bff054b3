// The request serializer.
//
// A row has a record from the first Insert for it until its queue empties. The record's front entry
// is the request that the stack has (issued), or the one that goes out next (waiting); the others
// wait after it. The action of an issued request no longer exists: only the mark stays in front
// until the stack reports completion.
//
// Until the ready signal nothing is issued, and the order in which rows became busy is kept in a
// list (arrivals). When a row empties, later places move up but the list keeps its length, as with
// std::remove, so the last places repeat. Callers can see this: the ready signal returns the result
// of the last place. The places point to records; a row that empties before the signal therefore
// keeps its record (FORGOTTEN). After the signal the front entry of every busy row is issued, so
// the order no longer matters and the list is dropped; later signals find nothing to issue.
//
// A stack call may call back at once and end the row whose request is being issued. Therefore the
// mark is set before the call, and the row is not touched after it. While the ready signal releases
// the rows, records stay (FORGOTTEN), because the places being walked refer to them.
#include "vantacore/serializer.h"

#include <algorithm>
#include <new>
#include <vector>

#include "oid_table.h"
#include "vantacore/mib_action.h"

namespace Tarsel {

namespace {

// A row's name as the caller gave it.
struct OidRef {
  OidRef(const unsigned int* subIds_, unsigned int length)
      : subIds(subIds_),
        usable(std::min(length, MibOid::MAX_LENGTH)),
        key{HashOid(subIds_, usable), length} {}
  explicit OidRef(const MibOid& oid) : OidRef(oid.GetSubIds(), oid.GetLength()) {}

  const unsigned int* subIds;
  unsigned int usable;  // how many of them can be read
  OidKey key;
};

struct Waiting {
  MibAction* action;
  Waiting* next;
};

// One row. The sub-identifiers in use follow it in memory: those of a route are a fraction of the
// 520 bytes that an identifier can take.
struct Row {
  enum State : unsigned char {
    FORGOTTEN,  // not busy; the record only holds a place in the arrival order
    EMPTY,      // known, without any request
    WAITING,    // the front request has not been issued
    ISSUED      // the stack has the front request
  };

  explicit Row(const OidRef& oid)
      : front(nullptr), first(nullptr), last(nullptr), key(oid.key), state(EMPTY), listed(false) {
    std::copy_n(oid.subIds, oid.usable, SubIds());
  }

  unsigned int* SubIds() { return reinterpret_cast<unsigned int*>(this + 1); }
  // Whether this is the row, given that the keys are equal.
  bool Is(const OidRef& oid) {
    // The empty identifier may come without an array, which memcmp would not take.
    return std::equal(oid.subIds, oid.subIds + oid.usable, SubIds());
  }

  MibAction* front;  // null once issued
  Waiting* first;    // after the front
  Waiting* last;
  OidKey key;
  State state;
  bool listed;  // has, or had, a place in the arrival order
};

Row* NewRow(const OidRef& oid) {
  const std::size_t size = sizeof(Row) + oid.usable * sizeof(unsigned int);
  void* memory = ::operator new(size, std::nothrow);
  return memory != nullptr ? new (memory) Row(oid) : nullptr;
}

// The actions in the row are left alone.
void DeleteRow(Row* row) {
  while (row->first != nullptr) {
    Waiting* next = row->first->next;
    delete row->first;
    row->first = next;
  }
  ::operator delete(row);
}

void Append(Row* row, MibAction* action) {
  Waiting* entry = new Waiting{action, nullptr};
  (row->first != nullptr ? row->last->next : row->first) = entry;
  row->last = entry;
}

// Lets the next entry take the place of the front one; false when there is none.
bool PopFront(Row* row) {
  Waiting* next = row->first;
  if (next == nullptr) {
    return false;
  }
  row->front = next->action;
  row->first = next->next;
  row->state = Row::WAITING;
  delete next;
  return true;
}

// The front request of a row that is to issue it; null when the stack has it already.
MibAction* TakeFront(Row* row) {
  if (row->state != Row::WAITING) {
    return nullptr;
  }
  MibAction* action = row->front;
  row->front = nullptr;
  row->state = Row::ISSUED;
  return action;
}

// Like std::remove, but the places after the new end are defined: they keep what they held.
void CloseGap(std::vector<Row*>& places, const Row* gone) {
  auto to = std::find(places.begin(), places.end(), gone);
  for (auto from = to; from != places.end(); ++from) {
    if (*from != gone) {
      *to++ = *from;
    }
  }
}

}  // namespace

struct Serializer::Rows {
  struct Release {
    std::vector<Row*> places;
    bool cancelled;
  };

  Row* Find(const OidRef& oid) const;
  Row* FindBusy(const OidRef& oid) const;
  MibAction* TakeNext(const OidRef& oid);
  Row* Add(const OidRef& oid);
  void Remove(const OidRef& oid);
  void Forget(Row* row);
  void EndRelease();
  void Clear();

  OidTable<Row*> table;
  std::vector<Row*> arrivals;    // rows in the order in which they became busy, until ready
  Release* releasing = nullptr;  // the ready signal's walk, while it runs
  bool ready = false;
};

Row* Serializer::Rows::Find(const OidRef& oid) const {
  return table.Find(oid.key, [&oid](Row* row) { return row->Is(oid); });
}

Row* Serializer::Rows::FindBusy(const OidRef& oid) const {
  Row* row = Find(oid);
  return row != nullptr && row->state != Row::FORGOTTEN ? row : nullptr;
}

// The row's front request, to be issued now; null when there is none, when the stack has it
// already, and before the stack is ready.
MibAction* Serializer::Rows::TakeNext(const OidRef& oid) {
  Row* row = FindBusy(oid);
  return row != nullptr && ready ? TakeFront(row) : nullptr;
}

// The record of a row that is busy or becomes busy now; null if there is no memory for one.
Row* Serializer::Rows::Add(const OidRef& oid) {
  Row* row = Find(oid);
  if (row == nullptr) {
    row = NewRow(oid);
    if (row == nullptr) {
      return nullptr;
    }
    table.Add(oid.key, row);
  } else if (row->state != Row::FORGOTTEN) {
    return row;
  }
  row->state = Row::EMPTY;
  if (!ready) {
    row->listed = true;
    arrivals.push_back(row);
  }
  return row;
}

void Serializer::Rows::Remove(const OidRef& oid) {
  Row* row = FindBusy(oid);
  if (row != nullptr && !PopFront(row)) {
    Forget(row);
  }
}

void Serializer::Rows::Forget(Row* row) {
  CloseGap(arrivals, row);
  if (row->listed) {
    row->state = Row::FORGOTTEN;
    return;
  }
  table.Erase(row->key, row);
  DeleteRow(row);
}

// Places no longer refer to records.
void Serializer::Rows::EndRelease() {
  std::vector<Row*> forgotten;
  table.ForEach([&forgotten](Row* row) {
    row->listed = false;
    if (row->state == Row::FORGOTTEN) {
      forgotten.push_back(row);
    }
  });
  for (Row* row : forgotten) {
    Forget(row);
  }
}

void Serializer::Rows::Clear() {
  table.ForEach(DeleteRow);
  table.Clear();
  arrivals.clear();
  if (releasing != nullptr) {
    releasing->cancelled = true;
  }
}

Serializer::Serializer() : m_rows(new Rows) {}

Serializer::~Serializer() { Reset(); }

bool Serializer::IssueMibRequest(MibAction* action, bool shared) {
  if (action == nullptr || !m_rows->ready) {
    return false;
  }
  action->IssueReq(shared);
  delete action;
  return true;
}

void Serializer::Insert(MibOid oid, MibAction* action) {
  Row* row = m_rows->Add(OidRef(oid));
  if (row == nullptr || action == nullptr) {
    return;
  }
  if (row->state != Row::EMPTY) {
    Append(row, action);
    return;
  }
  row->front = action;
  row->state = Row::WAITING;
  if (m_rows->ready) {
    IssueMibRequest(TakeFront(row), false);
  }
}

int Serializer::Send(MibOid oid) { return IssueMibRequest(m_rows->TakeNext(OidRef(oid)), true); }

void Serializer::Remove(MibOid oid) { m_rows->Remove(OidRef(oid)); }

int Serializer::RunPendingAction(unsigned int* oid, unsigned int len) {
  const OidRef row(oid, std::min(len, MibOid::MAX_LENGTH));
  m_rows->Remove(row);
  return IssueMibRequest(m_rows->TakeNext(row), true);
}

int Serializer::RunPendingActions() {
  if (m_rows->ready) {
    return 0;
  }
  m_rows->ready = true;
  Rows::Release release{std::move(m_rows->arrivals), false};
  m_rows->arrivals.clear();
  m_rows->releasing = &release;
  int result = 0;
  for (Row* row : release.places) {
    // A request from inside which all queues are forgotten deletes the records of the remaining
    // places.
    result = release.cancelled ? 0 : IssueMibRequest(TakeFront(row), true);
  }
  m_rows->releasing = nullptr;
  m_rows->EndRelease();
  return result;
}

void Serializer::Reset() { m_rows->Clear(); }

}  // namespace Tarsel
