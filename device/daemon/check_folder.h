// The configuration folder before, or without, a device that runs.
#ifndef DEVICE_DAEMON_CHECK_FOLDER_H
#define DEVICE_DAEMON_CHECK_FOLDER_H

#include <string>

namespace vantacored {

/// Whether the folder can be listed and its files opened. If not, says why on standard error.
bool CanOpenFolder(const std::string& directory);

/// Reads the folder as a start would and prints the findings on standard error, one a line, as
/// compilers do. Neither the library nor the stack is started. Returns the exit status: 0, or 1 if
/// there is an error, if the check is strict and there is a warning, or if a finding could not be
/// printed.
int CheckFolder(const std::string& directory, bool isStrict);

}  // namespace vantacored

#endif
