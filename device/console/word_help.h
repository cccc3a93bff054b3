// What help shows of forms, and what the words of options are for.
#ifndef DEVICE_CONSOLE_WORD_HELP_H
#define DEVICE_CONSOLE_WORD_HELP_H

#include <string>

#include "grammar.h"

namespace console {

/// One line for a word or a place that follows a command's first word; empty if there is none.
std::string DescribeOption(const Atom& atom);
/// The pattern of a form, two spaces in, on as many lines as it needs. The last one has no end.
std::string WrapPattern(const std::string& pattern);
/// "  left      right", where the right side begins at one column if it can.
std::string HelpRow(const std::string& left, const std::string& right);

}  // namespace console

#endif
