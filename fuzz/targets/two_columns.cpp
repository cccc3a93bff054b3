// TwoColumnsFormatter: any rows, widths and separators.
//
// No line is wider than the widths allow, no character is lost or added, and formatting again gives
// the same. The object lives for one input.
#include <algorithm>
#include <cstring>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "vantacore/two_columns_formatter.h"

namespace {

using fuzz::Check;

std::string WithoutBlanks(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

// Of a single row whose texts hold no line ends, the two columns can be told apart again.
void CheckSingleRow(const std::string& first, const std::string& second, unsigned int width1,
                    unsigned int width2, const std::string& separator, const std::string& block) {
  std::string left, right;
  for (const std::string& line : fuzz::Split(block.substr(0, block.size() - 1), '\n')) {
    Check(line.size() >= width1 + separator.size(), "a line without its first column");
    Check(line.size() <= width1 + separator.size() + width2, "a line that is too wide");
    Check(line.compare(width1, separator.size(), separator) == 0, "the separator is not in place");
    left += line.substr(0, width1);
    right += line.substr(width1 + separator.size());
  }
  Check(WithoutBlanks(left) == WithoutBlanks(first), "the first text has changed");
  Check(WithoutBlanks(right) == WithoutBlanks(second), "the second text has changed");
}

void CheckSegment(Tarsel::TwoColumnsFormatter& formatter, const std::string& text,
                  unsigned int width) {
  const char* const begin = text.c_str();
  const char* const last = formatter.Segment(begin, width);
  Check(last >= begin && last <= begin + text.size(), "a segment outside of its text");
  Check(width == 0 || last < begin + std::max(width, 1U), "a segment that is too long");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Bytes bytes(data, size);
  const unsigned int width1 = bytes.Byte();
  const unsigned int width2 = bytes.Byte();
  const std::string separator = bytes.Text(6).c_str();  // up to the first NUL
  std::vector<std::string> pieces = fuzz::Split(bytes.Rest(), '\0');

  Tarsel::TwoColumnsFormatter formatter;
  std::size_t rows = 0;
  bool hasText = false;
  for (std::size_t i = 0; i + 1 < pieces.size(); i += 2, ++rows) {
    CheckSegment(formatter, pieces[i], width1);
    formatter.PushRow(pieces[i].c_str(), pieces[i + 1].c_str());
    hasText = hasText || !pieces[i].empty() || !pieces[i + 1].empty();
  }
  const char* block = formatter.Format(width1, width2, separator.c_str());
  Check((block != nullptr) == (hasText && width1 > 0 && width2 > 0 && !separator.empty()),
        "a block out of nothing, or none out of something");
  if (block != nullptr) {
    const std::string copy = block;
    Check(!copy.empty() && copy.back() == '\n', "a block that does not end with a line end");
    if (rows == 1 && copy.find('\r') == std::string::npos &&
        pieces[0].find('\n') == std::string::npos && pieces[1].find('\n') == std::string::npos &&
        separator.find('\n') == std::string::npos) {
      CheckSingleRow(pieces[0], pieces[1], width1, width2, separator, copy);
    }
    Check(copy == formatter.Format(width1, width2, separator.c_str()), "a second block differs");
  }
  formatter.Format();
  formatter.ClearRows();
  Check(formatter.Format() == nullptr, "a block of rows that were cleared");
  return 0;
}
