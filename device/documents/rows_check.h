// What no single row of a document can tell: rows of another VLAN, and two rows with one key.
#ifndef DEVICE_DOCUMENTS_ROWS_CHECK_H
#define DEVICE_DOCUMENTS_ROWS_CHECK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document_findings.h"
#include "member_value.h"
#include "members.h"
#include "vlan_settings.h"

namespace documents {

/// Collects the rows of one entry, and judges them when the entry's VLAN is known. Gets the parts of
/// rows as a ShapeVisitor does.
class RowsCheck {
 public:
  /// `findings` is borrowed.
  explicit RowsCheck(DocumentFindings& findings) : m_findings(findings) {}

  void BeginEntry();
  void BeginList(std::string path, bool isArray);
  /// `index` is that of an array's element, `name` that of an object's member.
  void BeginRow(std::string_view name, std::size_t index);
  void Take(const Member& member, const Value& value, std::size_t offset);
  void EndRow();
  /// The entry has ended: finds what is wrong with its rows.
  void JudgeEntry(unsigned short vlan);
  /// After that, if the entry counts: its rows of interfaces are among the result.
  void KeepEntry(unsigned short vlan);

  /// The rows of interfaces of all entries that have been kept; `text` is the document's.
  InterfaceRows Finish(std::string_view text);

 private:
  struct SeenRow {
    ElementNames::Element element;
    const Row* row = nullptr;  // null while its name is not known
    RowNumbers numbers;
    std::uint32_t keyNumber = 0;
    std::size_t offset = 0;
  };

  std::string PathOf(const SeenRow& row) const;
  void Complain(const SeenRow& row, const std::string& problem);
  void FindOtherVlans(unsigned short vlan);
  void FindDoubled();

  DocumentFindings& m_findings;
  InterfaceRows m_result;
  std::vector<SeenRow> m_rows;  // of the entry
  SeenRow m_row;
  std::vector<std::pair<std::string_view, std::uint32_t>> m_numbers;  // of m_row
};

}  // namespace documents

#endif
