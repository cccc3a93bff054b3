// What a reload of another folder would change, without a device.
#ifndef DEVICE_DAEMON_DIFF_FOLDERS_H
#define DEVICE_DAEMON_DIFF_FOLDERS_H

#include <string>

namespace vantacored {

/// Reads both folders as a start would and prints the way from `directory` to `other` on standard
/// output, as plan::ListChanges tells it. The findings of both go to standard error, each with its
/// folder before the file's name. Neither the library nor the stack is started. Returns the exit
/// status that tools of comparison have: 0 if nothing differs, 1 if something does, 2 if a folder
/// has errors or something could not be printed.
int DiffFolders(const std::string& directory, const std::string& other);

}  // namespace vantacored

#endif
