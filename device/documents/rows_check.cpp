#include "rows_check.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "text_positions.h"

namespace documents {

void RowsCheck::BeginEntry() { m_rows.clear(); }

void RowsCheck::BeginList(std::string path, bool isArray) {
  m_result.m_names.AddList(std::move(path), isArray);
}

void RowsCheck::BeginRow(std::string_view name, std::size_t index) {
  m_row = SeenRow();
  m_row.element = m_result.m_names.Add(name, static_cast<std::uint32_t>(index));
}

void RowsCheck::Take(const Member& member, const Value& value, std::size_t offset) {
  if (member.kind == Kind::ROW_NAME) {
    m_row.row = member.row;
    m_row.numbers = value.row;
    m_row.offset = offset;
  } else if (member.kind == Kind::NUMBER) {
    m_numbers.emplace_back(member.name, value.number);
  }
}

void RowsCheck::EndRow() {
  if (m_row.row != nullptr && m_row.row->keyMember != nullptr) {
    for (const auto& [name, number] : m_numbers) {
      m_row.keyNumber = name == std::string_view(m_row.row->keyMember) ? number : m_row.keyNumber;
    }
  }
  m_numbers.clear();
  if (m_row.row != nullptr) {
    m_rows.push_back(std::move(m_row));
  }
}

void RowsCheck::JudgeEntry(unsigned short vlan) {
  FindOtherVlans(vlan);
  FindDoubled();
}

void RowsCheck::KeepEntry(unsigned short vlan) {
  for (const SeenRow& row : m_rows) {
    if (row.row->isInterface) {
      // The offset has the place of the position until all rows have been read.
      m_result.m_rows.push_back({vlan,
                                 static_cast<std::uint16_t>(row.numbers.row[0]),
                                 {static_cast<std::uint32_t>(row.offset), 0},
                                 row.element});
    }
  }
}

InterfaceRows RowsCheck::Finish(std::string_view text) {
  auto& rows = m_result.m_rows;
  std::sort(rows.begin(), rows.end(), [](const InterfaceRow& a, const InterfaceRow& b) {
    return a.position.line < b.position.line;
  });
  TextPositions positions(text);
  for (InterfaceRow& row : rows) {
    row.position = positions.Find(row.position.line);
  }
  rows.shrink_to_fit();
  m_result.m_names.ShrinkToFit();
  return std::move(m_result);
}

std::string RowsCheck::PathOf(const SeenRow& row) const {
  return MemberPath(m_result.m_names.PathOf(row.element), "Name");
}

void RowsCheck::Complain(const SeenRow& row, const std::string& problem) {
  if (m_findings.Wants(Severity::ERROR, row.offset)) {
    m_findings.Add(Severity::ERROR, row.offset, PathOf(row), problem);
  }
}

void RowsCheck::FindOtherVlans(unsigned short vlan) {
  for (const SeenRow& row : m_rows) {
    if (row.numbers.vlan != vlan) {
      Complain(row, "a row of another VLAN, expected one of VLAN " + std::to_string(vlan) +
                        ", found VLAN " + std::to_string(row.numbers.vlan));
    }
  }
}

// Two rows with one key have the same place in an order.
void RowsCheck::FindDoubled() {
  const auto key = [](const SeenRow* row) {
    return std::tie(row->element.list, row->numbers.row, row->keyNumber);
  };
  std::vector<const SeenRow*> sorted;
  sorted.reserve(m_rows.size());
  for (const SeenRow& row : m_rows) {
    sorted.push_back(&row);
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](const SeenRow* a, const SeenRow* b) { return key(a) < key(b); });
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (key(sorted[i - 1]) == key(sorted[i]) &&
        m_findings.Wants(Severity::ERROR, sorted[i]->offset)) {
      Complain(*sorted[i], "two rows with one key, expected another number than that of " +
                               PathOf(*sorted[i - 1]) + ", found " +
                               std::to_string(sorted[i]->numbers.row[0]));
    }
  }
}

}  // namespace documents
