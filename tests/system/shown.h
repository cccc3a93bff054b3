// What a terminal shows.
#ifndef TESTS_SYSTEM_SHOWN_H
#define TESTS_SYSTEM_SHOWN_H

#include <string>

namespace system_test {

/// The lines that a wide terminal shows, from an empty first line on, after these bytes: the editor
/// may move and erase as it likes. Knows carriage return, backspace, bell, a row up, and erasing to
/// the end of the line or of the screen; other control sequences appear as they are.
std::string Shown(const std::string& bytes);

}  // namespace system_test

#endif
