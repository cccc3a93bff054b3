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
  /// Characters of the first column when none are given.
  static constexpr unsigned int DEFAULT_COL1_WIDTH = 40;
  /// Characters of the second column when none are given.
  static constexpr unsigned int DEFAULT_COL2_WIDTH = 40;
  static const char* const DEFAULT_SEPARATOR;  ///< four blanks
  /// Continuation lines of the first column are narrower by this text's length.
  static const char* const INDENTATION;  ///< four blanks

  TwoColumnsFormatter();

  /// Adds a pair; either text may be empty.
  void PushRow(string first, string second);
  /// Adds a text with a number, in decimal.
  void PushRow(string first, unsigned int value);
  /// Forgets the rows; the last output stays.
  void ClearRows();

  /// The block, valid until the next Format; null when a width is 0, the separator is null or
  /// empty, or there is nothing to show. The rows stay.
  const char* Format(unsigned int width1, unsigned int width2, const char* separator);
  /// With the default widths.
  const char* Format(const char* separator);
  /// With the default widths and separator.
  const char* Format();

  /// The last character of the first piece of `text` that fits in `width`: the piece ends before
  /// the last blank within reach; a word longer than the width is cut.
  const char* Segment(const char* text, unsigned int width);

 private:
  void AppendColumn(const char*& text, unsigned int width, unsigned int reach);

  std::vector<string> m_first;
  std::vector<string> m_second;
  string m_output;
};

}  // namespace Tarsel

#endif
