// The objects' side of a row: when to ask, and what an answer means for the flags that the list and
// the operator look at. InMib follows the stack's answers. ActionReq is cleared as soon as a
// request has been handed on. It is set again, with a commit of the list, when the stack wants the
// request once more or has confirmed that the row is gone; that commit then finds the object
// finished.
#include "row_object.h"

#include "host/dc_console.h"

namespace routers {

using Tarsel::DcConsole;
using Tarsel::DCLConfigList;
using Tarsel::DcRouterBase;
using Tarsel::string;

namespace {

enum Match : int { SAME = 0, CHANGED = 1, OTHER = 2 };

}  // namespace

RowObject::RowObject(DcRouterBase& owner, DCLConfigList& list)
    : DclConfigObject(owner), m_list(list), m_destroy(false), m_entered(false) {}

RowObject::RowObject(const RowObject* parsed)
    : DclConfigObject(parsed), m_list(parsed->m_list), m_destroy(false), m_entered(false) {}

RowObject::~RowObject() = default;

int RowObject::Compare(DclConfigObject* other) {
  if (!KeyMatch(other)) {
    return OTHER;
  }
  return m_destroy || !HasContentsOf(*other) ? CHANGED : SAME;
}

void RowObject::Update(DclConfigObject* other) {
  Leave();
  m_destroy = false;
  TakeContentsOf(*other);
  if (m_row != nullptr) {
    m_row->Renew();
  }
}

unsigned short RowObject::GetRowStatus() {
  if (m_destroy) {
    return ROW_DESTROY;
  }
  return InMib ? ROW_ACTIVE : ROW_CREATE;
}

// A list marks what is missing at every document; only the first time is news.
void RowObject::SetDestroy() {
  if (!m_destroy && m_row != nullptr) {
    m_row->Renew();
  }
  m_destroy = true;
}

void RowObject::Display(DcConsole* console, unsigned int) {
  PrintRow(console, GetLabel(), GetRowName().key, Describe(), GetContents());
}

string RowObject::Describe() const { return m_row != nullptr ? m_row->Describe() : string("new"); }

bool RowObject::CommitToMib() {
  ActionReq = false;
  if (Suspended) {
    return false;  // when the objects are resumed, all of them are committed
  }
  if (m_destroy) {
    return m_row == nullptr || m_row->Remove();
  }
  if (m_row == nullptr) {
    WantedRow::Owner& owner = *this;
    m_row = std::make_shared<WantedRow>(owner, GetRowName(), SourceRank{type, name});
  }
  m_row->Write(IsUp() ? ADMIN_UP : ADMIN_DOWN, GetContents());
  return false;
}

void RowObject::RowChanged() {
  InMib = m_row->IsInStack();
  if (!InMib) {
    Leave();
  } else if (!m_entered && !m_destroy) {
    m_entered = true;
    Entered();
  }
}

DCLConfigList& RowObject::RowDue() {
  ActionReq = true;
  return m_list;
}

void RowObject::Leave() {
  if (m_entered) {
    m_entered = false;
    Left();
  }
}

void PrintRow(DcConsole* console, const char* label, const std::string& key, const string& state,
              const string& contents) {
  console->Print("  %-9s %-15s %-19s %s\n", label, key.c_str(), state.c_str(), contents.c_str());
}

}  // namespace routers
