// Who listens at a socket, and whether it can be trusted.
#ifndef DEVICE_CLIENT_LISTENER_H
#define DEVICE_CLIENT_LISTENER_H

#include <string>

namespace client {

/// Returns why the listener at the other end of a connected socket cannot be trusted, or the empty
/// text if it can. A stranger could read what the operator types, and answer anything. Trusted
/// listeners are the client's own user, root, and `daemonUser` if there is such a user. If the
/// client's user is root, every listener is trusted.
std::string Distrust(int socket, const std::string& daemonUser);

}  // namespace client

#endif
