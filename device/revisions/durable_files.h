// Files that are on the disk when they have been written, for what has to survive a kill and a loss
// of power.
#ifndef DEVICE_REVISIONS_DURABLE_FILES_H
#define DEVICE_REVISIONS_DURABLE_FILES_H

#include <string>

namespace revisions {

// Each function returns what went wrong, "FILE: cannot be ...: REASON"; empty if nothing has. The
// caller has the folder to itself: no other thread and no other process changes it meanwhile.

/// Makes a folder that only its owner may use. One that is there already will do.
std::string MakeFolder(const std::string& path);
/// The same with the folders above it. What has been made is on the disk.
std::string MakeFolders(const std::string& path);

/// Writes a file that only its owner may read, in place of one that is there, and has the system
/// bring it to the disk. Its name is there for sure after SyncFolder only. What a failure leaves of
/// the file is the caller's to remove.
std::string WriteFile(const std::string& path, const std::string& text);
/// Moves a file or a folder inside one file system. Whoever looks finds the old name or the new one.
std::string Move(const std::string& from, const std::string& to);
/// Has the system bring the folder's names to the disk.
std::string SyncFolder(const std::string& path);
/// Removes a file, or a folder with all that is in it. One that is not there will do. Does not
/// follow symbolic links.
std::string Remove(const std::string& path);

}  // namespace revisions

#endif
