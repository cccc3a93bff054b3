// Words that hands type by themselves which have learnt them elsewhere, and what does it here.
#ifndef DEVICE_CONSOLE_FOREIGN_WORDS_H
#define DEVICE_CONSOLE_FOREIGN_WORDS_H

#include <string>

#include "words.h"

namespace console {

struct ForeignWords {
  std::string words;   // with which a line begins; "<name>" is a value (places.h)
  std::string answer;  // lines that do it here, in quotes; "<name>" stands for that value
};

/// All of them.
const std::vector<ForeignWords>& GetForeignWords();

/// Returns the answer, with the line's values; an empty text if the line begins with no such words.
/// Letter case does not count.
std::string FindForeignWords(const Words& line);
/// The same for a line of which the word at `misfit` is not understood, where each word may be
/// abbreviated to two letters: the words must explain that one.
std::string FindForeignWords(const Words& line, std::size_t misfit);

}  // namespace console

#endif
