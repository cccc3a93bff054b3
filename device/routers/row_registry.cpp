// An answer of the stack names a row, not a request and not an object. The serializer has at most
// one request of a row in the stack, so the request that was issued last is the one that is
// answered. The asker is held weakly, since its document may have been withdrawn meanwhile.
//
// What follows from an answer, a retry or the end of an object, changes configuration lists. If the
// stack answers from inside the request, the answer arrives while a list is being committed. It is
// therefore only noted here, and a timer does the rest.
//
// Rows outlive their objects in the stack when lists are dropped. The registry goes on knowing
// those, so that a host that compares can have them removed.
#include "row_registry.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "device/stack/protocol_rows.h"

namespace routers {

using Tarsel::DCLConfigList;
using Tarsel::MemberCallback2;

namespace {

constexpr unsigned int RETRY_MS = 100;
// Many rows may be due at once. They are done in portions, and the event loop turns in between.
constexpr std::size_t MAX_PORTION = 200;
constexpr unsigned int SOON_MS = 1;

bool HasLowerRank(const WantedRow* a, const WantedRow* b) { return a->GetRank() < b->GetRank(); }

}  // namespace

RowRegistry& RowRegistry::Get() {
  static RowRegistry* const registry = new RowRegistry;
  return *registry;
}

RowRegistry::RowRegistry() : m_retryTimer("ProtocolRowRetries"), m_otherTimer("ProtocolRows") {
  using Callback = MemberCallback2<RowRegistry, unsigned int, void*>;
  m_retryTimer.SetCallback(new Callback(this, &RowRegistry::RetriesDue));
  m_otherTimer.SetCallback(new Callback(this, &RowRegistry::OthersDue));
  sms_register_protocol_answer(&RowRegistry::OnAnswer);
}

// ---- who wants which row

void RowRegistry::Add(WantedRow& row) {
  Entry& entry = m_entries[row.GetName()];
  SetLeftBehind(entry, false);
  std::vector<WantedRow*>& rows = entry.rows;
  rows.insert(std::upper_bound(rows.begin(), rows.end(), &row, HasLowerRank), &row);
}

void RowRegistry::Drop(WantedRow& row) {
  m_underWay.erase(&row);
  StopCounting(row);
  if (WantedRow* const heir = FindCounting(row.GetName())) {
    heir->InheritFrom(row);
  }
  const auto entry = m_entries.find(row.GetName());
  std::vector<WantedRow*>& rows = entry->second.rows;
  rows.erase(std::find(rows.begin(), rows.end(), &row));
  SetLeftBehind(entry->second, rows.empty() && (row.MayBeInStack() || IsRowInStack(row.GetName())));
  Forget(entry);
}

WantedRow* RowRegistry::FindCounting(const RowName& name) const {
  const auto entry = m_entries.find(name);
  if (entry == m_entries.end()) {
    return nullptr;
  }
  const std::vector<WantedRow*>& rows = entry->second.rows;
  const auto found = std::find_if(rows.rbegin(), rows.rend(),
                                  [](const WantedRow* row) { return !row->IsRemoving(); });
  return found != rows.rend() ? *found : nullptr;
}

bool RowRegistry::IsConfigured(const RowName& name) const {
  const auto entry = m_entries.find(name);
  return entry != m_entries.end() && !entry->second.rows.empty();
}

void RowRegistry::StopCounting(WantedRow& row) {
  const bool counted = FindCounting(row.GetName()) == &row;
  row.m_removing = true;
  if (!counted) {
    return;
  }
  if (WantedRow* const next = FindCounting(row.GetName())) {
    next->Renew();
    MakeDue(*next);
  }
}

// ---- how the rows stand

WantedRow* RowRegistry::Find(const RowName& name) const {
  if (WantedRow* const counting = FindCounting(name)) {
    return counting;
  }
  const auto entry = m_entries.find(name);
  return entry != m_entries.end() && !entry->second.rows.empty() ? entry->second.rows.back()
                                                                 : nullptr;
}

const RowName* RowRegistry::Next(const RowName* last) const {
  const auto begin = last != nullptr ? m_entries.upper_bound(*last) : m_entries.begin();
  const auto next = std::find_if(begin, m_entries.end(), [](const auto& entry) {
    return !entry.second.rows.empty() || entry.second.isLeftBehind;
  });
  return next != m_entries.end() ? &next->first : nullptr;
}

std::size_t RowRegistry::CountWanted() const {
  const auto isWanted = [](const auto& entry) {
    const std::vector<WantedRow*>& rows = entry.second.rows;
    return std::any_of(rows.begin(), rows.end(),
                       [](const WantedRow* row) { return !row->IsRemoving(); });
  };
  return static_cast<std::size_t>(std::count_if(m_entries.begin(), m_entries.end(), isWanted));
}

void RowRegistry::NoteUnderWay(const WantedRow& row) {
  if (row.GetRequest() != RowStanding::Request::NONE) {
    m_underWay.insert(&row);
  } else {
    m_underWay.erase(&row);
  }
}

// Removes an entry that is not needed any more. Returns the next one.
RowRegistry::Entries::iterator RowRegistry::Forget(Entries::iterator entry) {
  const bool isNeeded = !entry->second.rows.empty() || entry->second.inFlight.rowStatus != 0 ||
                        entry->second.isLeftBehind;
  return isNeeded ? std::next(entry) : m_entries.erase(entry);
}

// ---- rows that were left behind

void RowRegistry::SetLeftBehind(Entry& entry, bool isLeftBehind) {
  m_countLeftBehind -= entry.isLeftBehind ? 1 : 0;
  m_countLeftBehind += isLeftBehind ? 1 : 0;
  entry.isLeftBehind = isLeftBehind;
}

RowStanding RowRegistry::LookAtLeftBehind(const RowName& name) const {
  RowStanding standing;
  const auto entry = m_entries.find(name);
  if (entry != m_entries.end() && entry->second.isLeftBehind && IsRowInStack(name)) {
    standing.contents = RowStanding::Contents::UNWANTED;
  }
  if (entry != m_entries.end() && entry->second.inFlight.rowStatus != 0) {
    standing.request = RowStanding::Request::ASKED;
  }
  return standing;
}

void RowRegistry::AskToRemove(const RowName& name) {
  const auto entry = m_entries.find(name);
  if (entry != m_entries.end() && entry->second.isLeftBehind && IsRowInStack(name)) {
    entry->second.inFlight = InFlight();
    RequestRemoval(name);
  }
}

void RowRegistry::ForgetGone() {
  for (auto entry = m_entries.begin(); m_countLeftBehind != 0 && entry != m_entries.end();) {
    if (entry->second.isLeftBehind && !IsRowInStack(entry->first)) {
      SetLeftBehind(entry->second, false);
    }
    entry = Forget(entry);
  }
}

// ---- requests and answers

void RowRegistry::NoteIssued(const RowName& name, const std::weak_ptr<WantedRow>& asker,
                             unsigned int sequence, int rowStatus) {
  m_entries[name].inFlight = {asker, sequence, rowStatus};
}

// An answer that is repeated, or to a request that was forgotten: a stack that has been restarted
// may do what was asked of the one before it.
void RowRegistry::NoteUnasked(const RowName& name, int rowStatus, unsigned int status) {
  if (status == ANSWER_DONE && rowStatus != ROW_DESTROY && !IsConfigured(name)) {
    SetLeftBehind(m_entries[name], true);
  }
}

void RowRegistry::OnAnswer(unsigned int table, unsigned int instance, const unsigned char* key,
                           unsigned int keyLength, int rowStatus, int, unsigned int status) {
  Get().Answer({table, instance, std::string(reinterpret_cast<const char*>(key), keyLength)},
               rowStatus, status);
}

void RowRegistry::Answer(const RowName& name, int rowStatus, unsigned int status) {
  const auto entry = m_entries.find(name);
  if (entry == m_entries.end() || entry->second.inFlight.rowStatus != rowStatus) {
    NoteUnasked(name, rowStatus, status);
    return;
  }
  const InFlight answered = std::exchange(entry->second.inFlight, InFlight());
  if (const std::shared_ptr<WantedRow> row = answered.asker.lock()) {
    row->Answered(answered.sequence, rowStatus, status);
    return;
  }
  const bool isThere = rowStatus != ROW_DESTROY;
  if (entry->second.rows.empty() && (status == ANSWER_DONE || !isThere)) {
    SetLeftBehind(entry->second, isThere || IsRowInStack(name));
  }
  Forget(entry);
}

// ---- what follows later

void RowRegistry::MakeDue(WantedRow& row) {
  if (row.m_isDue) {
    return;
  }
  row.SetDue(true);
  const bool isRetry = row.m_phase == WantedRow::WAITING;
  (isRetry ? m_retries : m_others).push_back(row.weak_from_this());
  Tarsel::OneShotTimer& timer = isRetry ? m_retryTimer : m_otherTimer;
  if (!timer.IsRunning()) {
    timer.Start(isRetry ? RETRY_MS : SOON_MS);
  }
}

void RowRegistry::RetriesDue(unsigned int, void*) {
  if (ServePortion(m_retries) && !m_retryTimer.IsRunning()) {
    m_retryTimer.Start(SOON_MS);
  }
}

void RowRegistry::OthersDue(unsigned int, void*) {
  if (ServePortion(m_others) && !m_otherTimer.IsRunning()) {
    m_otherTimer.Start(SOON_MS);
  }
}

// Whether any are left. A row that becomes due again meanwhile is not served in this portion.
bool RowRegistry::ServePortion(std::deque<std::weak_ptr<WantedRow>>& rows) {
  std::vector<DCLConfigList*> lists;
  for (std::size_t i = 0; i < MAX_PORTION && !rows.empty(); ++i) {
    const std::shared_ptr<WantedRow> row = rows.front().lock();
    rows.pop_front();
    if (row == nullptr) {
      continue;
    }
    row->SetDue(false);
    DCLConfigList* const list = &row->m_owner.RowDue();
    if (std::find(lists.begin(), lists.end(), list) == lists.end()) {
      lists.push_back(list);
    }
  }
  for (DCLConfigList* list : lists) {
    list->CommitToMib();
  }
  return !rows.empty();
}

}  // namespace routers
