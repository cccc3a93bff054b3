// Text in two columns. A text is cut into pieces that fit its column; a piece ends before a blank
// and the next one begins with that blank, so a continuation line starts with one blank and needs
// no other indentation. The first column keeps its width on every line, for the second to stand
// below itself; the second column is not filled up once its text is used up.
#include "vantacore/two_columns_formatter.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

namespace Tarsel {

const char* const TwoColumnsFormatter::DEFAULT_SEPARATOR = "    ";
const char* const TwoColumnsFormatter::INDENTATION = "    ";

TwoColumnsFormatter::TwoColumnsFormatter() = default;

void TwoColumnsFormatter::PushRow(string first, string second) {
  m_first.push_back(std::move(first));
  m_second.push_back(std::move(second));
}

void TwoColumnsFormatter::PushRow(string first, unsigned int value) {
  string second;
  second.Format("%u", value);
  PushRow(std::move(first), std::move(second));
}

void TwoColumnsFormatter::ClearRows() {
  m_first.clear();
  m_second.clear();
}

const char* TwoColumnsFormatter::Segment(const char* text, unsigned int width) {
  if (width == 0 || *text == '\0') {
    return text;
  }
  // No character after the first that does not fit needs to be examined.
  const std::size_t reach = strnlen(text, width);
  if (text[reach] == '\0') {
    return text + reach - 1;
  }
  // That character may be the blank before which the piece ends.
  for (std::size_t i = reach + 1; i-- > 0;) {
    if (text[i] == ' ') {
      return i == 0 ? text : text + i - 1;
    }
  }
  return text + width - 1;
}

// Appends a line's worth of `text` and blanks up to `width`; `reach` is what the piece may take of
// it. `text` is moved past the piece.
void TwoColumnsFormatter::AppendColumn(const char*& text, unsigned int width, unsigned int reach) {
  std::string column(width, ' ');
  if (*text != '\0') {
    const char* const end = Segment(text, reach) + 1;
    column.replace(0, static_cast<std::size_t>(end - text), text,
                   static_cast<std::size_t>(end - text));
    text = end;
  }
  m_output += column.c_str();
}

const char* TwoColumnsFormatter::Format(unsigned int width1, unsigned int width2,
                                        const char* separator) {
  if (width1 == 0 || width2 == 0 || separator == nullptr || *separator == '\0' || m_first.empty()) {
    return nullptr;
  }
  const unsigned int indentation = static_cast<unsigned int>(std::strlen(INDENTATION));
  m_output.clear();
  for (std::size_t row = 0; row < m_first.size(); ++row) {
    const char* first = m_first[row].c_str();
    const char* second = m_second[row].c_str();
    unsigned int reach = width1;
    while (*first != '\0' || *second != '\0') {
      AppendColumn(first, width1, reach);
      m_output += separator;
      if (*second != '\0') {
        AppendColumn(second, width2, width2);
      }
      m_output += "\n";
      // A column too narrow for the indentation keeps its width.
      reach = width1 > indentation ? width1 - indentation : width1;
    }
  }
  return m_output.empty() ? nullptr : m_output.c_str();
}

const char* TwoColumnsFormatter::Format(const char* separator) {
  return Format(DEFAULT_COL1_WIDTH, DEFAULT_COL2_WIDTH, separator);
}

const char* TwoColumnsFormatter::Format() { return Format(DEFAULT_SEPARATOR); }

}  // namespace Tarsel
