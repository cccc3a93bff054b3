// A socket in the file system at which clients find this process.
#ifndef DEVICE_LOOP_LISTENING_SOCKET_H
#define DEVICE_LOOP_LISTENING_SOCKET_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

#include "device/program/owned_descriptor.h"

namespace loop {

/// Who may connect to a socket, besides root. The permission to write counts.
struct SocketAccess {
  std::optional<uid_t> owner;  // nothing: the process's user
  std::optional<gid_t> group;  // nothing: the one that the system gives it
  std::optional<mode_t> mode;  // nothing: the owner, and the group if it is named

  mode_t GetMode() const { return mode.value_or(group ? 0660 : 0600); }
};

/// Listens from its constructor on; nobody is accepted before its owner does that.
class ListeningSocket {
 public:
  /// A socket at `path` that an ended process has left there is replaced. At no moment may anybody
  /// connect whom `access` does not let in. Throws std::runtime_error if it cannot listen there, or
  /// cannot give the socket to whom it shall belong; nothing stays at `path` then.
  explicit ListeningSocket(const std::string& path, const SocketAccess& access = {});
  /// Owns `descriptor`, which listens already and is non-blocking. Its place in the file system is
  /// somebody else's.
  explicit ListeningSocket(int descriptor);
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  /// Removes the socket at the path that it was made at, if it is still its own.
  ~ListeningSocket();

  /// Non-blocking.
  int Get() const { return m_descriptor.Get(); }

 private:
  using Identity = std::pair<dev_t, ino_t>;  // of a file, whatever it is called

  static Identity FindIdentity(const std::string& path);

  const std::string m_path;  // empty: not its own
  program::OwnedDescriptor m_descriptor;
  Identity m_identity;
};

}  // namespace loop

#endif
