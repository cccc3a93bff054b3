// Where the revisions of a configuration folder are, and to whom they belong.
#ifndef DEVICE_REVISIONS_STORE_PLACE_H
#define DEVICE_REVISIONS_STORE_PLACE_H

#include <string>

namespace revisions {

/// The real path of a folder, also of one that is not there.
std::string RealPath(const std::string& directory);
/// What the store of a folder with this real path is called: its last component, cut and made
/// printable, '-' and 32 hexadecimal digits that stand for the whole path.
std::string StoreName(const std::string& realPath);

/// Makes the store's folder if it is missing. Returns what is wrong with it: it has to be a folder,
/// not a symbolic link, of this process's user, that lets nobody else in.
std::string MakePlace(const std::string& path);
/// Locks the store as long as the descriptor that is returned is open. Negative with a `problem` if
/// that is not possible. The file LOCK stays: whoever removed it could lock another one.
int LockPlace(const std::string& path, std::string& problem);
/// Notes whose store it is, in a file FOLDER, or finds that noted. Returns what is wrong, for
/// example that it is the store of another folder.
std::string ClaimPlace(const std::string& path, const std::string& realPath);

}  // namespace revisions

#endif
