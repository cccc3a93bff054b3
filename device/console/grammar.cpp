#include "grammar.h"

#include "places.h"

namespace console {

namespace {

// What changes something must not come of a slip of the finger; "ipv6" stands before words that the
// library abbreviates.
const Words WRITTEN_OUT = {"reload", "force", "undo", "confirm", "retry", "log",
                           "lab",    "quit",  "exit", "ipv6",    "?"};

std::vector<Atom> Alternatives(const std::string& token) {
  std::vector<Atom> atoms;
  std::istringstream stream(token);
  for (std::string text; std::getline(stream, text, '|');) {
    const bool isPlace = text.front() == '<';
    atoms.push_back({isPlace ? text.substr(1, text.size() - 2) : text, isPlace});
  }
  return atoms;
}

bool operator==(const Atom& a, const Atom& b) { return a.text == b.text && a.isPlace == b.isPlace; }

void AddOnce(std::vector<Atom>& atoms, const Atom& atom) {
  if (std::none_of(atoms.begin(), atoms.end(), [&](const Atom& one) { return one == atom; })) {
    atoms.push_back(atom);
  }
}

}  // namespace

bool Parse::Has(const std::string& name) const {
  return std::any_of(given.begin(), given.end(),
                     [&](const Given& one) { return one.name == name; });
}

const std::string* Parse::Find(const std::string& name) const {
  for (const Given& one : given) {
    if (one.isValue && one.name == name) {
      return &one.word;
    }
  }
  return nullptr;
}

std::size_t Parse::Where(const std::string& name) const {
  return std::find_if(given.begin(), given.end(),
                      [&](const Given& one) { return one.isValue && one.name == name; })
      ->at;
}

Form::Form(const char* pattern) {
  std::vector<std::size_t> open;  // brackets, as the indices of their options
  std::istringstream stream(pattern);
  for (std::string text; stream >> text;) {
    AddWord(text, open);
  }
}

void Form::AddWord(const std::string& text, std::vector<std::size_t>& open) {
  const bool isNeeded = text.front() == '{';
  const std::size_t opens = text.front() == '[' || isNeeded ? 1 : 0;
  const std::size_t end = text.find_last_not_of("]}") + 1;
  const std::string token = text.substr(opens, end - opens);
  if (token == "...") {  // what stands beside it comes before it
    std::vector<Option>& options = m_steps.back().options;
    Step rest = {{std::move(options.back())}, false, true};
    options.pop_back();
    m_steps.push_back(std::move(rest));
  } else if (opens != 0) {
    const bool isInStep = !m_steps.empty() && !m_steps.back().isInPlace;
    if (!isInStep) {
      m_steps.push_back({{}, false, false});
    }
    std::vector<Option>& options = m_steps.back().options;
    options.push_back({{Alternatives(token)}, open.empty() ? Parse::NONE : open.back(), isNeeded});
    open.push_back(options.size() - 1);
  } else if (!open.empty()) {
    m_steps.back().options[open.back()].tokens.push_back(Alternatives(token));
  } else {
    m_steps.push_back({{{{Alternatives(token)}, Parse::NONE, true}}, true, false});
  }
  open.resize(open.size() - (text.size() - end));
}

Form::State Form::After(const State& state, std::size_t step, std::size_t option, std::size_t token,
                        std::size_t atom) const {
  const std::vector<Token>& tokens = m_steps[step].options[option].tokens;
  State next = state;
  if (step != state.step) {
    next.used = 0;
    next.opened = 0;
  }
  next.step = step;
  if (m_steps[step].takesRest) {
    return next;
  }
  if (token + 1 < tokens.size()) {
    next.option = option;
    next.token = token + 1;
    return next;
  }
  next.option = Parse::NONE;
  next.used |= 1u << option;
  if (atom + 1 == tokens.back().size()) {
    next.opened |= 1u << option;
  }
  if (m_steps[step].isInPlace) {
    next.step = step + 1;
    next.used = 0;
    next.opened = 0;
  }
  return next;
}

// Whether the step has something that may not be left out and has not come.
bool Form::NeedsMore(const State& state, std::size_t step) const {
  const std::uint32_t used = step == state.step ? state.used : 0;
  const std::vector<Option>& options = m_steps[step].options;
  bool needs = false;
  for (std::size_t i = 0; i < options.size(); ++i) {
    needs |= options[i].isNeeded && (used >> i & 1) == 0;
  }
  return needs;
}

std::vector<Form::Choice> Form::GetChoices(const State& state) const {
  std::vector<Choice> choices;
  const auto add = [&](std::size_t step, std::size_t option, std::size_t token) {
    const Token& atoms = m_steps[step].options[option].tokens[token];
    for (std::size_t i = 0; i < atoms.size(); ++i) {
      choices.push_back({&atoms[i], After(state, step, option, token, i)});
    }
  };
  if (state.option != Parse::NONE) {
    add(state.step, state.option, state.token);
    return choices;
  }
  for (std::size_t i = state.step; i < m_steps.size(); ++i) {
    const std::uint32_t used = i == state.step ? state.used : 0;
    const std::uint32_t opened = i == state.step ? state.opened : 0;
    for (std::size_t j = 0; j < m_steps[i].options.size(); ++j) {
      const std::size_t outer = m_steps[i].options[j].outer;
      if ((used >> j & 1) == 0 && (outer == Parse::NONE || (opened >> outer & 1) != 0)) {
        add(i, j, 0);
      }
    }
    if (NeedsMore(state, i)) {
      break;
    }
  }
  return choices;
}

bool Form::IsWhole(const State& state) const {
  if (state.option != Parse::NONE) {
    return false;
  }
  bool isWhole = true;
  for (std::size_t i = state.step; isWhole && i < m_steps.size(); ++i) {
    isWhole = !NeedsMore(state, i);
  }
  return isWhole;
}

Words Choose(const std::string& word, const Words& words) {
  Words chosen;
  for (const std::string& one : words) {
    if (one == word) {
      return {one};
    }
    if (BeginsWith(one, word) && !Has(WRITTEN_OUT, one) && !Has(chosen, one)) {
      chosen.push_back(one);
    }
  }
  for (const std::string& one : chosen) {
    if (std::all_of(chosen.begin(), chosen.end(),
                    [&](const std::string& other) { return BeginsWith(other, one); })) {
      return {one};
    }
  }
  return chosen;
}

namespace {

/// A form that fits so far.
struct Live {
  std::size_t form;
  Form::State state;
};

/// What may come next in one of them.
struct Open {
  std::size_t form;
  Form::Choice choice;
};

std::vector<Open> OpenOf(const std::vector<Form>& forms, const std::vector<Live>& live) {
  std::vector<Open> open;
  for (const Live& one : live) {
    for (Form::Choice& choice : forms[one.form].GetChoices(one.state)) {
      open.push_back({one.form, std::move(choice)});
    }
  }
  return open;
}

Words WordsOf(const std::vector<Open>& open) {
  Words words;
  for (const Open& one : open) {
    if (!one.choice.atom->isPlace) {
      words.push_back(one.choice.atom->text);
    }
  }
  return words;
}

// What the word means in that place: nothing if it does not fit. Values begin with different letters.
Words Fitting(const Atom& place, const std::string& word, bool canAbbreviate) {
  if (Takes(place.text, word)) {
    return {word};
  }
  return canAbbreviate ? Choose(word, ValuesOf(place.text)) : Words();
}

/// A word as the forms take it.
struct Taken {
  std::vector<Live> live;  // the forms that go on with it; none if it fits none
  std::string written;     // the word in full
  Words ambiguous;
};

// A word of a form comes before a value.
Taken Take(const std::vector<Open>& open, const std::string& word, std::size_t at,
           bool canAbbreviate) {
  const Words known = WordsOf(open);
  Words meant = canAbbreviate || Has(known, word) ? Choose(word, known) : Words();
  const bool isWord = meant.size() == 1;
  Taken taken;
  for (const Open& one : open) {
    const Atom& atom = *one.choice.atom;
    if (isWord == atom.isPlace) {
      continue;
    }
    const Words fitting = isWord ? meant : Fitting(atom, word, canAbbreviate);
    const bool fits = fitting.size() == 1 && (atom.isPlace || fitting[0] == atom.text);
    if (fits && (taken.live.empty() || taken.live.back().form != one.form)) {
      taken.written = fitting[0];
      taken.live.push_back({one.form, one.choice.next});
      taken.live.back().state.given.push_back({atom.text, fitting[0], at, atom.isPlace});
    }
  }
  taken.ambiguous = std::move(meant);
  return taken;
}

}  // namespace

Parse Grammar::Read(const Words& words) const {
  Parse parse;
  std::vector<Live> live;
  for (std::size_t i = 0; i < m_forms.size(); ++i) {
    live.push_back({i, {}});
  }
  std::vector<Open> open = OpenOf(m_forms, live);
  for (std::size_t at = 0; at < words.size() && parse.misfit == Parse::NONE; ++at) {
    Taken taken = Take(open, words[at], at, m_canAbbreviate);
    if (taken.live.empty()) {
      parse.misfit = at;
      parse.ambiguous = std::move(taken.ambiguous);
    } else {
      parse.words.push_back(std::move(taken.written));
      live = std::move(taken.live);
      open = OpenOf(m_forms, live);
    }
  }
  for (const Open& one : open) {
    AddOnce(parse.following, *one.choice.atom);
  }
  if (!live.empty()) {
    parse.given = live[0].state.given;
  }
  for (const Live& one : live) {
    if (parse.misfit == Parse::NONE && parse.form == Parse::NONE) {
      if (m_forms[one.form].IsWhole(one.state)) {
        parse.form = one.form;
        parse.given = one.state.given;
      }
      parse.begun.push_back(one.form);
    }
  }
  return parse;
}

}  // namespace console
