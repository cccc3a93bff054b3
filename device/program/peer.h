// Who is at the other end of a socket.
#ifndef DEVICE_PROGRAM_PEER_H
#define DEVICE_PROGRAM_PEER_H

#include <sys/types.h>

#include <optional>
#include <string>

namespace program {

/// Returns the user who is at the other end of a connected socket of this machine: of a client who
/// connected, or of a daemon who listened. Nothing, with errno set, if the system does not tell.
std::optional<uid_t> FindPeer(int socket);

/// Returns the user's name, if the system knows one. The system reads files for that, or asks
/// whoever else it has been told to ask.
std::optional<std::string> FindUserName(uid_t user);

}  // namespace program

#endif
