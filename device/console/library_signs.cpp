#include "library_signs.h"

#include <algorithm>

#include "exit_rules.h"

namespace console {

namespace {

constexpr unsigned int LINES = 2;
// A line of a table is not longer, and a long word of the operator's is cut here.
constexpr std::size_t LONGEST_BEGINNING = 8192;

constexpr std::string_view USAGE = "Usage: ";
constexpr std::string_view INVALID = "Invalid ";
constexpr std::string_view FAIL = "Fail to parse ";
constexpr std::string_view VLAN = "VLAN ";
constexpr std::string_view ABSENT = " is not present";

bool Begins(std::string_view text, std::string_view with) {
  return text.substr(0, with.size()) == with;
}

bool Ends(std::string_view text, std::string_view with) {
  return text.size() >= with.size() && text.substr(text.size() - with.size()) == with;
}

}  // namespace

void LibrarySigns::Add(std::string_view text) {
  while (m_lines < LINES && !text.empty() && m_begin.size() < LONGEST_BEGINNING) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    m_begin += text.substr(0, end);
    m_lines += text[end - 1] == '\n' ? 1 : 0;
    text.remove_prefix(end);
  }
}

unsigned int LibrarySigns::Get() const {
  const std::string_view all = m_begin;
  const std::size_t end = std::min(all.find('\n'), all.size());
  const std::string_view first = all.substr(0, end);
  const std::string_view second = all.substr(std::min(end + 1, all.size()));
  if (Begins(first, USAGE) || Begins(first, FAIL) ||
      (Begins(first, INVALID) && Begins(second, USAGE))) {
    return USAGE_TEXT;
  }
  return Begins(first, VLAN) && Ends(first, ABSENT) ? unsigned{ABSENT_VLAN} : 0;
}

}  // namespace console
