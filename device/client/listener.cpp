#include "listener.h"

#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "device/program/printable.h"

namespace client {

namespace {

constexpr uid_t ROOT = 0;

std::string Describe(uid_t user) {
  const passwd* found = getpwuid(user);
  return found ? program::Quote(found->pw_name) : "with the id " + std::to_string(user);
}

}  // namespace

std::optional<uid_t> FindUser(const std::string& name) {
  const passwd* found = getpwnam(name.c_str());
  return found ? std::optional<uid_t>(found->pw_uid) : std::nullopt;
}

std::string Distrust(int socket, const std::string& daemonUser) {
  ucred listener{};
  socklen_t size = sizeof listener;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &listener, &size) != 0) {
    return std::string("nobody knows who listens there: ") + std::strerror(errno);
  }
  const uid_t own = geteuid();
  if (own == ROOT || listener.uid == ROOT || listener.uid == own ||
      FindUser(daemonUser) == listener.uid) {
    return {};
  }
  return "the user " + Describe(listener.uid) + " listens there, who is not you, root or " +
         program::Quote(daemonUser) + "; --daemon-user names another";
}

}  // namespace client
