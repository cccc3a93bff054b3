#include "form.h"

#include <algorithm>
#include <sstream>

namespace console {

namespace {

Words Alternatives(const std::string& token) {
  Words words;
  if (token[0] != '<') {
    std::istringstream stream(token);
    for (std::string word; std::getline(stream, word, '|');) {
      words.push_back(word);
    }
  }
  return words;
}

bool Has(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool Takes(const Words& token, const std::string& word) {
  return token.empty() || Has(token, word);
}

void Append(Words& words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
}

}  // namespace

Form::Form(const char* pattern) {
  std::istringstream stream(pattern);
  bool isNew = true;  // the next token begins a part
  for (std::string token; stream >> token;) {
    const bool opens = token.front() == '[';
    const bool closes = token.back() == ']';
    if (isNew || opens) {
      m_parts.push_back({{}, opens, false});
    }
    token = token.substr(opens ? 1 : 0, token.size() - (opens ? 1 : 0) - (closes ? 1 : 0));
    Part& part = m_parts.back();
    if (token == "...") {
      part.takesRest = true;
    } else {
      part.tokens.push_back(Alternatives(token));
      m_required += part.isOptional ? 0 : 1;
    }
    isNew = closes;
  }
}

Form::Way Form::Follow(const Words& words) const {
  Way way = {0, false, {}};
  for (const Part& part : m_parts) {
    if (part.takesRest) {
      way.count = words.size();
      break;
    }
    const bool isOver = way.count == words.size();
    if (part.isOptional && (isOver || !Takes(part.tokens[0], words[way.count]))) {
      if (isOver) {
        Append(way.following, part.tokens[0]);
      }
      continue;
    }
    for (const Words& token : part.tokens) {
      if (way.count == words.size()) {
        Append(way.following, token);
        return way;
      }
      if (!Takes(token, words[way.count])) {
        return way;
      }
      ++way.count;
      way.following.clear();
    }
  }
  way.isAtEnd = true;
  return way;
}

bool Form::IsWhole(const Words& words) const {
  const Way way = Follow(words);
  return way.isAtEnd && way.count == words.size();
}

Words Form::Following(const Words& before) const {
  const Way way = Follow(before);
  return way.count == before.size() ? way.following : Words();
}

Match Grammar::Find(const Words& words) const {
  Match match;
  std::size_t fitting = 0;
  for (std::size_t i = 0; i < m_forms.size(); ++i) {
    if (m_forms[i].IsWhole(words)) {
      match.form = i;
      return match;
    }
    fitting = std::max(fitting, m_forms[i].CountFitting(words));
  }
  if (fitting < words.size()) {
    match.misfit = fitting;
    return match;
  }
  for (std::size_t i = 0; i < m_forms.size(); ++i) {
    if (m_forms[i].CountFitting(words) == fitting) {
      match.begun.push_back(i);
    }
  }
  return match;
}

Words Grammar::Following(const Words& before) const {
  Words following;
  for (const Form& form : m_forms) {
    for (const std::string& word : form.Following(before)) {
      if (!Has(following, word)) {
        following.push_back(word);
      }
    }
  }
  return following;
}

}  // namespace console
