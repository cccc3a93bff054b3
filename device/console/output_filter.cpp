#include "output_filter.h"

#include <algorithm>
#include <utility>

#include "device/program/counted.h"
#include "device/program/printable.h"
#include "grammar.h"

namespace console {

namespace {

constexpr const char* BLANKS = " \t\r\n\v\f";
const std::string INCLUDE = "include";
const std::string EXCLUDE = "exclude";
const std::string COUNT = "count";

bool IsBlank(char letter) { return std::string_view(BLANKS).find(letter) != std::string::npos; }

// Up to the first blank; empty if the text begins with one.
std::string FirstWord(const std::string& text) {
  return text.substr(0, std::min(text.find_first_of(BLANKS), text.size()));
}

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(BLANKS);
  return begin == std::string::npos ? std::string()
                                    : text.substr(begin, text.find_last_not_of(BLANKS) + 1 - begin);
}

}  // namespace

void OutputFilter::Add(std::string_view text, const Take& take) {
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;) {
    const std::string_view rest = text.substr(0, end + 1);
    if (m_waiting.empty()) {
      Judge(rest, take);
    } else {
      m_waiting += rest;
      Judge(std::exchange(m_waiting, {}), take);
    }
    text.remove_prefix(end + 1);
  }
  m_waiting += text;
}

void OutputFilter::Judge(std::string_view line, const Take& take) {
  if (m_kind == Kind::COUNT) {
    ++m_count;
  } else if ((line.find(m_text) != std::string_view::npos) == (m_kind == Kind::INCLUDE)) {
    take(line);
  }
}

void OutputFilter::End(const Take& take) {
  if (!m_waiting.empty()) {
    Judge(std::exchange(m_waiting, {}), take);
  }
  if (m_kind == Kind::COUNT) {
    take(program::Counted(m_count, "line\n", "lines\n"));
  }
}

namespace {

// Right after a bar a short one is rather part of a text that has bars.
bool IsFilterWord(const std::string& word) {
  return word.size() >= 3 && !Choose(word, FilterWords()).empty();
}

}  // namespace

PipedLine SplitPipe(const std::string& line) {
  for (std::size_t at = line.find('|'); at != std::string::npos; at = line.find('|', at + 1)) {
    const bool begins = at == 0 || IsBlank(line[at - 1]);
    const std::string word = FirstWord(line.substr(at + 1));
    if (begins && (word.empty() || IsFilterWord(word))) {
      return {line.substr(0, at), line.substr(at + 1)};
    }
  }
  return {line, std::nullopt};
}

const Words& FilterWords() {
  static const Words WORDS = {INCLUDE, EXCLUDE, COUNT};
  return WORDS;
}

std::unique_ptr<OutputFilter> MakeFilter(const std::string& text) {
  const std::string all = Trimmed(text);
  const std::string word = FirstWord(all);
  const Words chosen = word.empty() ? Words() : Choose(word, FilterWords());
  const std::string rest = Trimmed(all.substr(word.size()));
  if (chosen.size() != 1 || rest.empty() != (chosen[0] == COUNT) || SplitPipe(rest).filter) {
    return nullptr;
  }
  using Kind = OutputFilter::Kind;
  const Kind kind = chosen[0] == COUNT     ? Kind::COUNT
                    : chosen[0] == INCLUDE ? Kind::INCLUDE
                                           : Kind::EXCLUDE;
  return std::make_unique<OutputFilter>(kind, rest);
}

std::string ExplainFilter(const std::string& text) {
  const auto second = SplitPipe(text).filter;
  return second ? "One filter is possible, and " + program::Quote(Trimmed(*second)) +
                      " would be a second"
                : "Usage: <command> | include <text>\n       <command> | exclude <text>\n"
                  "       <command> | count";
}

}  // namespace console
