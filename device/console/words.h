// The words of an operator's line.
#ifndef DEVICE_CONSOLE_WORDS_H
#define DEVICE_CONSOLE_WORDS_H

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace console {

using Words = std::vector<std::string>;

/// Words are separated by blanks; there are no quotes.
inline Words Split(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

inline std::string Joined(const Words& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

inline bool Has(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

inline bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace console

#endif
