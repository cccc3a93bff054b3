// Text in two columns.
#ifndef VANTACORE_TWO_COLUMNS_FORMATTER_H
#define VANTACORE_TWO_COLUMNS_FORMATTER_H

#include <vector>

#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Lays out pairs of texts as two columns of fixed width, long texts wrapped at blanks.
class VANTACORE_API TwoColumnsFormatter {
 public:
  /// Width of the first column, in characters, if none is given.
  static constexpr unsigned int DEFAULT_COL1_WIDTH = 40;
  /// Width of the second column, in characters, if none is given.
  static constexpr unsigned int DEFAULT_COL2_WIDTH = 40;
  static const char* const DEFAULT_SEPARATOR;  ///< four blanks
  /// Only its length counts: continuation lines of the first column hold that many characters
  /// fewer, unless the column is not wider than that.
  static const char* const INDENTATION;  ///< four blanks

  /// No rows.
  TwoColumnsFormatter();

  /// Adds a pair; either text may be empty.
  void PushRow(string first, string second);
  /// Adds a text with a number, in decimal.
  void PushRow(string first, unsigned int value);
  /// Forgets the rows; the last output stays.
  void ClearRows();

  /// Returns the block of lines, valid until the next Format; null if a width is 0, the separator
  /// is null or empty, or there is nothing to show. The rows stay.
  const char* Format(unsigned int width1, unsigned int width2, const char* separator);
  /// The same with the default widths.
  const char* Format(const char* separator);
  /// The same with the default widths and separator.
  const char* Format();

  /// Returns where the first line of `text` ends: a pointer to the last of at most `width`
  /// characters, chosen so that the line ends before a blank; a word longer than `width` is cut.
  /// Returns `text` if it is empty or `width` is 0.
  const char* Segment(const char* text, unsigned int width);

 private:
  void AppendColumn(const char*& text, unsigned int width, unsigned int reach);

  std::vector<string> m_first;
  std::vector<string> m_second;
  string m_output;
};

}  // namespace Tarsel

#endif
