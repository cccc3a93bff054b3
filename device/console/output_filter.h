// What may stand at the end of any line: "| include TEXT", "| exclude TEXT", "| count".
#ifndef DEVICE_CONSOLE_OUTPUT_FILTER_H
#define DEVICE_CONSOLE_OUTPUT_FILTER_H

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "words.h"

namespace console {

/// Lets whole lines of a command's output pass, or counts them.
class OutputFilter {
 public:
  enum class Kind { INCLUDE, EXCLUDE, COUNT };
  using Take = std::function<void(std::string_view text)>;

  OutputFilter(Kind kind, std::string text) : m_kind(kind), m_text(std::move(text)) {}

  /// Takes a piece of output, and hands on the lines that pass. A line that has not ended waits.
  void Add(std::string_view text, const Take& take);
  /// No more comes: hands on what waits, or the number.
  void End(const Take& take);

 private:
  void Judge(std::string_view line, const Take& take);

  const Kind m_kind;
  const std::string m_text;
  std::string m_waiting;  // the beginning of a line
  std::size_t m_count = 0;
};

/// A line without its filter.
struct PipedLine {
  std::string command;
  std::optional<std::string> filter;  // the text after the bar, if there is one
};

/// The first bar that is a word, or begins one that goes on as a filter does, ends the command.
PipedLine SplitPipe(const std::string& line);
/// What may follow a bar.
const Words& FilterWords();
/// Makes the filter of the text after the bar. A null pointer if that is not understood, or goes on
/// with another filter.
std::unique_ptr<OutputFilter> MakeFilter(const std::string& text);
/// Tells why there is no filter of such a text, without the end of the line.
std::string ExplainFilter(const std::string& text);

}  // namespace console

#endif
