// A socket in the file system at which clients find this process.
#ifndef DEVICE_LOOP_LISTENING_SOCKET_H
#define DEVICE_LOOP_LISTENING_SOCKET_H

#include <sys/types.h>

#include <string>
#include <utility>

#include "device/program/owned_descriptor.h"

namespace loop {

/// Listens from its constructor on; nobody is accepted before its owner does that. Only the
/// process's user may connect.
class ListeningSocket {
 public:
  /// A socket at `path` that an ended process has left there is replaced. Throws std::runtime_error
  /// if it cannot listen there.
  explicit ListeningSocket(const std::string& path);
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  /// Removes the socket at the path, if it is still its own.
  ~ListeningSocket();

  /// Non-blocking.
  int Get() const { return m_descriptor.Get(); }

 private:
  using Identity = std::pair<dev_t, ino_t>;  // of a file, whatever it is called

  static Identity FindIdentity(const std::string& path);

  const std::string m_path;
  program::OwnedDescriptor m_descriptor;
  const Identity m_identity;
};

}  // namespace loop

#endif
