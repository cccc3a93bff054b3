// How commands are written: forms of words, from which parsing, completion, help, refusals and
// usage texts follow.
//
// A form is a pattern as help shows it:
//
//     word            this word; "a|b" is one of several
//     <name>          a value (places.h says what fits)
//     [...]           words that may be left out, all of them together
//     [<name> ...]    at the end: any further words
//     {...}           beside brackets: words that may not be left out
//
// Brackets and braces that stand side by side may come in any order, each once. A bracket within one
// belongs to the last alternative before it: in "[<address>|<prefix> [longer]]" only a prefix makes
// "longer" possible, which may then stand anywhere after it.
#ifndef DEVICE_CONSOLE_GRAMMAR_H
#define DEVICE_CONSOLE_GRAMMAR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "words.h"

namespace console {

/// A word or a place.
struct Atom {
  std::string text;  // a place's without its brackets
  bool isPlace;
};

/// A value or an option word that a line gives.
struct Given {
  std::string name;  // the place's, or the word itself
  std::string word;
  std::size_t at;  // its index in the line
  bool isValue;    // in a place
};

/// What a line means.
struct Parse {
  static constexpr std::size_t NONE = std::string::npos;

  std::size_t form = NONE;    // the first that the words are a whole command of
  std::size_t misfit = NONE;  // without one: the first word that fits no form after those before it
  std::vector<std::size_t> begun;  // without either: the forms that the words are the beginning of
  Words words;                     // up to the misfit, abbreviations written out
  std::vector<Given> given;        // of the form
  Words ambiguous;                 // what the misfit may abbreviate
  std::vector<Atom> following;     // what may stand after `words`, each once

  /// Whether the line has that word of the form, or a value in that place.
  bool Has(const std::string& name) const;
  /// The value in a place, or nothing.
  const std::string* Find(const std::string& name) const;
  /// The index of a value that is there.
  std::size_t Where(const std::string& name) const;
};

/// A pattern.
class Form {
 public:
  explicit Form(const char* pattern);

  /// How far a line has come in the form.
  struct State {
    std::size_t step = 0;
    std::size_t option = Parse::NONE;  // of the step, that has begun
    std::size_t token = 0;             // of the option, that comes next
    std::uint32_t used = 0;            // options of the step, as bits
    std::uint32_t opened = 0;          // those whose inner brackets may follow
    std::vector<Given> given;
  };
  struct Choice {
    const Atom* atom;
    State next;  // without the word
  };

  std::vector<Choice> GetChoices(const State& state) const;
  bool IsWhole(const State& state) const;

 private:
  using Token = std::vector<Atom>;  // alternatives
  struct Option {
    std::vector<Token> tokens;
    std::size_t outer;  // the option in whose bracket this one is
    bool isNeeded;
  };
  struct Step {
    std::vector<Option> options;
    bool isInPlace;  // a word outside of brackets
    bool takesRest;
  };

  void AddWord(const std::string& text, std::vector<std::size_t>& open);
  bool NeedsMore(const State& state, std::size_t step) const;
  State After(const State& state, std::size_t step, std::size_t option, std::size_t token,
              std::size_t atom) const;

  std::vector<Step> m_steps;
};

/// Several forms; the first that matches counts. Constant after it has been filled.
class Grammar {
 public:
  /// Whether words may be abbreviated while that is not ambiguous; a word that others begin with is
  /// what an abbreviation of them all means. Words that change something are written out in any
  /// case.
  explicit Grammar(bool canAbbreviate) : m_canAbbreviate(canAbbreviate) {}
  void Add(const char* pattern) { m_forms.emplace_back(pattern); }

  Parse Read(const Words& words) const;

 private:
  const bool m_canAbbreviate;
  std::vector<Form> m_forms;
};

/// Which of `words` a word is or abbreviates: one, several if that is not clear, or none.
Words Choose(const std::string& word, const Words& words);

}  // namespace console

#endif
