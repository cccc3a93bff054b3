#include "listener.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "device/program/peer.h"
#include "device/program/printable.h"

namespace client {

namespace {

constexpr uid_t ROOT = 0;

std::string Describe(uid_t user) {
  const auto name = program::FindUserName(user);
  return name ? program::Quote(*name) : "with the id " + std::to_string(user);
}

}  // namespace

std::optional<uid_t> FindUser(const std::string& name) {
  const passwd* found = getpwnam(name.c_str());
  return found ? std::optional<uid_t>(found->pw_uid) : std::nullopt;
}

std::string Distrust(int socket, const std::string& daemonUser) {
  const auto listener = program::FindPeer(socket);
  if (!listener) {
    return std::string("nobody knows who listens there: ") + std::strerror(errno);
  }
  const uid_t own = geteuid();
  if (own == ROOT || *listener == ROOT || *listener == own || FindUser(daemonUser) == *listener) {
    return {};
  }
  return "the user " + Describe(*listener) + " listens there, who is not you, root or " +
         program::Quote(daemonUser) + "; --daemon-user names another";
}

}  // namespace client
