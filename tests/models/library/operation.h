// The operations of a run: plain data that can be drawn, written down, read back and left out.
#ifndef TESTS_MODELS_LIBRARY_OPERATION_H
#define TESTS_MODELS_LIBRARY_OPERATION_H

#include <functional>
#include <string>
#include <vector>

#include "subject.h"

namespace library_model {

/// `word` chooses the operation, `numbers` and `text` say the rest. Every operation can be done at
/// any time, so any part of a list of them is a list.
struct Operation {
  std::string word;
  std::vector<int> numbers;
  std::string text;
};

/// One line: the word, the numbers, and the text after " | ".
std::string ToLine(const Operation& operation);
Operation FromLine(const std::string& line);

/// Draws uniformly from 0 to below - 1.
using Draw = std::function<unsigned int(unsigned int below)>;
/// Draws one operation, or a few that make something hard of each other.
/// The beginning of a list: mostly a stack that is up and a document that makes VLANs.
std::vector<Operation> DrawBeginning(const Draw& draw);
std::vector<Operation> DrawOperations(const Draw& draw);

/// The operations that have a little less in their document, in no particular order.
std::vector<Operation> SmallerDocuments(const Operation& operation);

void Perform(const Operation& operation, Subject& subject, ScriptedStack& stack);

}  // namespace library_model

#endif
