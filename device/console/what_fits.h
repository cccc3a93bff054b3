// What would fit where a word does not.
#ifndef DEVICE_CONSOLE_WHAT_FITS_H
#define DEVICE_CONSOLE_WHAT_FITS_H

#include <string>
#include <vector>

#include "grammar.h"

namespace console {

/// The words among `atoms`, each once.
Words WordsOf(const std::vector<Atom>& atoms);

/// The end of a refusal of `word`, with a blank before it: what may have been meant, and what of
/// `atoms` is possible.
std::string WhatFits(const std::string& word, const std::vector<Atom>& atoms);

}  // namespace console

#endif
