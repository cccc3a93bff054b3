// What becomes of a row.
//
// Each change is a request of its own, numbered by the row. The serializer passes a row's requests
// on one after the other, so several may wait. Every answer tells whether the row exists, but only
// the answer to the latest request decides what comes next. A refusal that asks for a retry makes
// the row due after a while, up to a limit. Any other refusal is kept for the operator until the
// configuration changes.
#include "wanted_row.h"

#include <new>
#include <tuple>
#include <utility>

#include "device/stack/protocol_rows.h"
#include "row_registry.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/mib_action.h"

namespace routers {

using Tarsel::DcRouterMgr;
using Tarsel::MibAction;
using Tarsel::MibOid;
using Tarsel::string;
using Tarsel::TRACE;

namespace {

constexpr unsigned int MAX_REFUSALS = 10;

const unsigned char* KeyBytes(const RowName& name) {
  return reinterpret_cast<const unsigned char*>(name.key.data());
}

unsigned int KeyLength(const RowName& name) { return static_cast<unsigned int>(name.key.size()); }

MibOid OidOf(const RowName& name) {
  unsigned int buffer[MibOid::MAX_LENGTH];
  const unsigned int length =
      sms_get_protocol_row_oid(buffer, name.table, name.instance, KeyBytes(name), KeyLength(name));
  return MibOid(buffer, length);
}

bool FindInStack(const RowName& name, sms_protocol_row& row) {
  return sms_get_protocol_row(name.table, name.instance, KeyBytes(name), KeyLength(name), &row) !=
         0;
}

/// A write of a protocol row. Who asked for it may have gone by the time it is issued.
class ProtocolRowAction : public MibAction {
 public:
  ProtocolRowAction(std::weak_ptr<WantedRow> asker, unsigned int sequence, RowName name,
                    int rowStatus, int adminStatus, const string& contents)
      : m_asker(std::move(asker)),
        m_sequence(sequence),
        m_name(std::move(name)),
        m_rowStatus(rowStatus),
        m_adminStatus(adminStatus),
        m_contents(contents) {}

  void IssueReq(bool shared) override {
    TRACE(5,
          "ProtocolRowAction: shared_context = %d row_status = %d table = %u instance = %u "
          "key = %s\n",
          shared, m_rowStatus, m_name.table, m_name.instance, m_name.key.c_str());
    RowRegistry::Get().NoteIssued(m_name, m_asker, m_sequence, m_rowStatus);
    sms_act_protocol_row(shared ? 0 : 1, m_name.table, m_rowStatus, m_adminStatus, m_name.instance,
                         KeyBytes(m_name), KeyLength(m_name), m_contents.c_str());
  }

 private:
  std::weak_ptr<WantedRow> m_asker;
  unsigned int m_sequence;
  RowName m_name;
  int m_rowStatus;
  int m_adminStatus;
  string m_contents;
};

}  // namespace

bool IsRowInStack(const RowName& name) {
  sms_protocol_row row;
  return FindInStack(name, row);
}

void RequestRemoval(const RowName& name) {
  auto* const action = new (std::nothrow)
      ProtocolRowAction(std::weak_ptr<WantedRow>(), 0, name, ROW_DESTROY, ADMIN_DOWN, string());
  if (action == nullptr) {
    TRACE(1, "Error in Allocating ProtocolRowAction\n");
    return;
  }
  DcRouterMgr::GetInstance()->GetSerializer().Insert(OidOf(name), action);
}

bool operator<(const RowName& a, const RowName& b) {
  return std::tie(a.instance, a.table, a.key) < std::tie(b.instance, b.table, b.key);
}

bool operator<(const SourceRank& a, const SourceRank& b) {
  return std::tie(a.type, a.name) < std::tie(b.type, b.name);
}

WantedRow::WantedRow(Owner& owner, RowName name, SourceRank rank)
    : m_owner(owner),
      m_name(std::move(name)),
      m_rank(std::move(rank)),
      m_phase(IDLE),
      m_inStack(false),
      m_removing(false),
      m_isDue(false),
      m_askedStatus(0),
      m_sequence(0),
      m_status(0),
      m_refusals(0),
      m_adminStatus(ADMIN_UP) {
  RowRegistry::Get().Add(*this);
}

WantedRow::~WantedRow() { RowRegistry::Get().Drop(*this); }

// ---- requests

void WantedRow::Write(AdminStatus adminStatus, const string& contents) {
  m_removing = false;
  m_adminStatus = adminStatus;
  m_contents = contents;
  if (RowRegistry::Get().FindCounting(m_name) != this) {
    SetPhase(IDLE);  // the other document counts; this one's turn comes when that is withdrawn
    return;
  }
  Ask(m_inStack ? ROW_ACTIVE : ROW_CREATE, adminStatus, contents);
}

bool WantedRow::Remove() {
  if (!m_removing) {
    RowRegistry::Get().StopCounting(*this);
  }
  if (RowRegistry::Get().FindCounting(m_name) != nullptr) {
    return true;  // the row is another document's now
  }
  if (m_phase == ASKED) {
    if (m_askedStatus == ROW_DESTROY) {
      return false;
    }
  } else if (!m_inStack) {
    return true;
  }
  Ask(ROW_DESTROY, ADMIN_DOWN, string());
  return false;
}

void WantedRow::AskAgain() {
  Renew();
  SetPhase(IDLE);
  sms_protocol_row row;
  m_inStack = FindInStack(m_name, row);
  m_owner.RowChanged();
  RowRegistry::Get().MakeDue(*this);
}

// From now on this one removes what the other document has written or is about to write.
void WantedRow::InheritFrom(const WantedRow& other) {
  const bool isOnItsWay = other.m_phase == ASKED && other.m_askedStatus != ROW_DESTROY;
  m_inStack = m_inStack || other.m_inStack || isOnItsWay;
}

// The state is complete before the request is handed on, since the answer may come at once.
void WantedRow::Ask(int rowStatus, int adminStatus, const string& contents) {
  auto* const action = new (std::nothrow)
      ProtocolRowAction(weak_from_this(), m_sequence + 1, m_name, rowStatus, adminStatus, contents);
  if (action == nullptr) {
    TRACE(1, "Error in Allocating ProtocolRowAction\n");
    Judge(false, ANSWER_RETRY);
    return;
  }
  ++m_sequence;
  SetPhase(ASKED);
  m_askedStatus = rowStatus;
  DcRouterMgr::GetInstance()->GetSerializer().Insert(OidOf(m_name), action);
}

// ---- answers

void WantedRow::Answered(unsigned int sequence, int rowStatus, unsigned int status) {
  const bool done = status == ANSWER_DONE || (rowStatus == ROW_DESTROY && status == ANSWER_ABSENT);
  if (done) {
    m_inStack = rowStatus != ROW_DESTROY;
  }
  if (sequence == m_sequence) {
    Judge(done, status);
  }
  m_owner.RowChanged();
}

void WantedRow::Judge(bool done, unsigned int status) {
  m_status = status;
  if (done) {
    SetPhase(IDLE);
    m_refusals = 0;
    if (m_removing) {
      RowRegistry::Get().MakeDue(*this);
    }
  } else if (status == ANSWER_RETRY && ++m_refusals < MAX_REFUSALS) {
    SetPhase(WAITING);
    RowRegistry::Get().MakeDue(*this);
  } else {
    SetPhase(REFUSED);
    TRACE(0, "The stack refuses to %s row %s of table %u in instance %u: status %u\n",
          m_removing ? "drop" : "write", m_name.key.c_str(), m_name.table, m_name.instance, status);
  }
}

void WantedRow::SetPhase(Phase phase) {
  m_phase = phase;
  RowRegistry::Get().NoteUnderWay(*this);
}

void WantedRow::SetDue(bool isDue) {
  m_isDue = isDue;
  RowRegistry::Get().NoteUnderWay(*this);
}

// ---- comparison

RowStanding WantedRow::Look() const {
  RowStanding standing;
  standing.contents = CompareWithStack();
  standing.request = GetRequest();
  standing.status = m_phase == WAITING || m_phase == REFUSED ? m_status : 0;
  return standing;
}

RowStanding::Request WantedRow::GetRequest() const {
  if (m_isDue) {
    return RowStanding::Request::DUE;
  }
  return m_phase == ASKED ? RowStanding::Request::ASKED : RowStanding::Request::NONE;
}

RowStanding::Contents WantedRow::CompareWithStack() const {
  sms_protocol_row row;
  const bool isThere = FindInStack(m_name, row);
  if (m_removing) {
    return isThere ? RowStanding::Contents::UNWANTED : RowStanding::Contents::AS_WANTED;
  }
  if (!isThere) {
    return RowStanding::Contents::MISSING;
  }
  return row.admin_status == m_adminStatus && m_contents == row.payload
             ? RowStanding::Contents::AS_WANTED
             : RowStanding::Contents::OTHER;
}

// ---- display

string WantedRow::Describe() const {
  string text;
  if (!m_removing && RowRegistry::Get().FindCounting(m_name) != this) {
    text = "overridden";
  } else if (m_phase == IDLE) {
    text = m_removing ? string("gone") : DescribePresence();
  } else if (m_phase == ASKED) {
    text = m_removing ? "leaving" : "pending";
  } else {
    text.Format("%s%s (status %u)", m_removing ? "leaving, " : "",
                m_phase == WAITING ? "retried" : "refused", m_status);
  }
  return text;
}

// The stack may have lost the row since it said yes.
string WantedRow::DescribePresence() const {
  sms_protocol_row row;
  if (!FindInStack(m_name, row)) {
    return "lost";
  }
  return row.admin_status == ADMIN_UP ? "active" : "down";
}

}  // namespace routers
