// How commands are written: forms of words, from which matching, completion and usage texts follow.
#ifndef DEVICE_CONSOLE_FORM_H
#define DEVICE_CONSOLE_FORM_H

#include <cstddef>
#include <string>
#include <vector>

namespace console {

using Words = std::vector<std::string>;

/// A pattern as help shows it: "a|b" stands for one of these words, "<name>" for any word. Words in
/// brackets may be left out, all of them together. "[<name> ...]" at the end takes all that is
/// left. Words are matched from the left without backtracking, so a bracket must not begin with a
/// word that may follow it.
class Form {
 public:
  explicit Form(const char* pattern);

  /// Returns how many of `words` fit, from the first on.
  std::size_t CountFitting(const Words& words) const { return Follow(words).count; }
  /// Whether `words` are a complete command.
  bool IsWhole(const Words& words) const;
  /// Whether `words`, a complete command, contain optional words.
  bool HasOptional(const Words& words) const { return words.size() > m_required; }
  /// Returns the words that may follow `before`; none if `before` does not fit, and none for a
  /// place that takes any word.
  Words Following(const Words& before) const;

 private:
  struct Part {
    std::vector<Words> tokens;  // an empty one takes any word
    bool isOptional;
    bool takesRest;
  };
  struct Way {
    std::size_t count;  // of the words that fit
    bool isAtEnd;       // all that has to stand has been there
    Words following;    // if all words fit
  };
  Way Follow(const Words& words) const;

  std::vector<Part> m_parts;
  std::size_t m_required = 0;
};

/// The result of matching words with several forms.
struct Match {
  static constexpr std::size_t NONE = std::string::npos;

  std::size_t form = NONE;    // the first that the words are a whole command of
  std::size_t misfit = NONE;  // without one: the first word that fits no form after those before it
  std::vector<std::size_t> begun;  // without either: the forms that the words begin
};

/// Several forms; the first that matches counts. Constant after it has been filled.
class Grammar {
 public:
  void Add(const char* pattern) { m_forms.emplace_back(pattern); }

  Match Find(const Words& words) const;
  /// Returns the words that may follow `before` in any of the forms, each once.
  Words Following(const Words& before) const;
  const Form& operator[](std::size_t form) const { return m_forms[form]; }

 private:
  std::vector<Form> m_forms;
};

}  // namespace console

#endif
