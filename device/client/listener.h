// Who it is that listens at a socket.
#ifndef DEVICE_CLIENT_LISTENER_H
#define DEVICE_CLIENT_LISTENER_H

#include <sys/types.h>

#include <optional>
#include <string>

namespace client {

/// The id of the user of this name, if there is one.
std::optional<uid_t> FindUser(const std::string& name);

/// Why nothing is to be said to whoever listens at the other end of a connected socket; the empty text
/// when it may be talked to. Somebody else could read what the operator types, and answer anything. Who
/// may listen is the client's own user, root, and `daemonUser`, as far as there is such a user; to root
/// as the client's user it does not matter who does.
std::string Distrust(int socket, const std::string& daemonUser);

}  // namespace client

#endif
