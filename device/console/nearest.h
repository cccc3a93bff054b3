// The word that somebody may have meant.
#ifndef DEVICE_CONSOLE_NEAREST_H
#define DEVICE_CONSOLE_NEAREST_H

#include <string>

#include "words.h"

namespace console {

/// How many letters must come, go, change, or change places with their neighbours, to make one text
/// of the other. Letter case does not count.
std::size_t CountSlips(const std::string& a, const std::string& b);

/// Returns the one of `words` that is nearest to `word`: one that begins with it, or one that is
/// two slips away at most, or one if it is short. Empty if there is none.
std::string FindNearest(const std::string& word, const Words& words);

}  // namespace console

#endif
