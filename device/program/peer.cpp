#include "peer.h"

#include <pwd.h>
#include <sys/socket.h>

#include <array>

namespace program {

std::optional<uid_t> FindPeer(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
             ? std::optional<uid_t>(peer.uid)
             : std::nullopt;
}

std::optional<std::string> FindUserName(uid_t user) {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 16 * 1024> texts;
  if (getpwuid_r(user, &entry, texts.data(), texts.size(), &found) != 0 || !found) {
    return std::nullopt;
  }
  return found->pw_name;
}

}  // namespace program
