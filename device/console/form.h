// How lab commands are written: forms of words, from which help, completion and matching follow.
#ifndef DEVICE_CONSOLE_FORM_H
#define DEVICE_CONSOLE_FORM_H

#include <cstddef>
#include <string>
#include <vector>

namespace console {

using Words = std::vector<std::string>;

/// A pattern as help shows it: "a|b" stands for one of these words, "<name>" for any word, and the
/// end of a pattern may stand in brackets, to be left out as a whole.
class Form {
 public:
  explicit Form(const char* pattern);

  /// How many of `words` fit, from the first on.
  std::size_t CountFitting(const Words& words) const;
  /// Whether `words` are a whole command.
  bool IsWhole(const Words& words) const;
  /// Whether `words`, a whole command, have the end that may be left out.
  bool HasOptional(const Words& words) const { return words.size() > m_required; }
  /// The words that may stand at this position; none for a place where any word may.
  const Words& At(std::size_t position) const;

 private:
  std::vector<Words> m_tokens;  // an empty one takes any word
  std::size_t m_required;
};

}  // namespace console

#endif
