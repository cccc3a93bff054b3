// Plays lists of operations on the library and on the model, each list in a process of its own: the
// library's singletons are never destroyed.
#ifndef TESTS_MODELS_LIBRARY_PLAY_H
#define TESTS_MODELS_LIBRARY_PLAY_H

#include "operation.h"

namespace library_model {

using Operations = std::vector<Operation>;

struct Outcome {
  bool equal = false;
  std::string difference;  // for a reader
  Counts counts;
  std::size_t operations = 0;  // that were played
  std::size_t lines = 0;       // that were compared
  std::size_t population = 0;  // the largest number of items and requests at once
};

/// Plays the list in a child process and waits for it. A child that dies or hangs is not equal.
Outcome Play(const Operations& operations);

/// The part of a failing list that is left when nothing more can be taken out of it; `rounds`
/// bounds the number of plays.
Operations Shrink(Operations operations, unsigned int rounds);

}  // namespace library_model

#endif
