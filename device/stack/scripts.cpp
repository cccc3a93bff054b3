#include "scripts.h"

namespace routing_stack {

void Scripts::Add(RowType type, const Answer& answer, unsigned int times) {
  if (times != 0) {
    m_types[static_cast<std::size_t>(type)].push_back({answer, times});
  }
}

void Scripts::AddRow(const unsigned int* oid, unsigned int length, const Answer& answer,
                     unsigned int times) {
  if (oid != nullptr && times != 0) {
    m_rows[std::vector<unsigned int>(oid, oid + length)].push_back({answer, times});
  }
}

void Scripts::Clear() {
  m_types = {};
  m_rows.clear();
}

bool Scripts::Concerns(RowType type) const {
  return !m_rows.empty() || !m_types[static_cast<std::size_t>(type)].empty();
}

bool Scripts::Take(RowType type, const Oid& oid, Answer* answer) {
  const auto row = m_rows.find(std::vector<unsigned int>(oid.words, oid.words + oid.length));
  if (row != m_rows.end()) {
    TakeFirst(row->second, answer);
    if (row->second.empty()) {
      m_rows.erase(row);
    }
    return true;
  }
  return TakeFirst(m_types[static_cast<std::size_t>(type)], answer);
}

bool Scripts::TakeFirst(Entries& entries, Answer* answer) {
  if (entries.empty()) {
    return false;
  }
  *answer = entries.front().answer;
  if (--entries.front().times == 0) {
    entries.pop_front();
  }
  return true;
}

}  // namespace routing_stack
