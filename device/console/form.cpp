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

bool Takes(const Words& token, const std::string& word) {
  return token.empty() || std::find(token.begin(), token.end(), word) != token.end();
}

}  // namespace

Form::Form(const char* pattern) {
  const std::string text(pattern);
  const std::size_t bracket = text.find('[');
  const auto append = [this](const std::string& part) {
    std::istringstream stream(part);
    for (std::string token; stream >> token;) {
      m_tokens.push_back(Alternatives(token));
    }
  };
  append(text.substr(0, bracket));
  m_required = m_tokens.size();
  if (bracket != std::string::npos) {
    append(text.substr(bracket + 1, text.find(']') - bracket - 1));
  }
}

std::size_t Form::CountFitting(const Words& words) const {
  std::size_t count = 0;
  while (count < words.size() && count < m_tokens.size() && Takes(m_tokens[count], words[count])) {
    ++count;
  }
  return count;
}

bool Form::IsWhole(const Words& words) const {
  return CountFitting(words) == words.size() &&
         (words.size() == m_required || words.size() == m_tokens.size());
}

const Words& Form::At(std::size_t position) const {
  static const Words NONE;
  return position < m_tokens.size() ? m_tokens[position] : NONE;
}

}  // namespace console
