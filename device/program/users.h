// Users and groups by their names.
#ifndef DEVICE_PROGRAM_USERS_H
#define DEVICE_PROGRAM_USERS_H

#include <sys/types.h>

#include <optional>
#include <string>

namespace program {

/// Returns the id of the user, or of the group, of this name, if there is one. The system reads files
/// for that, or asks whoever else it has been told to ask.
std::optional<uid_t> FindUser(const std::string& name);
std::optional<gid_t> FindGroup(const std::string& name);

}  // namespace program

#endif
