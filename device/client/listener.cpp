#include "listener.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "device/program/peer.h"
#include "device/program/printable.h"
#include "device/program/users.h"

namespace client {

namespace {

constexpr uid_t ROOT = 0;

std::string Describe(uid_t user) {
  const auto name = program::FindUserName(user);
  return name ? program::Quote(*name) : "with the id " + std::to_string(user);
}

}  // namespace

std::string Distrust(int socket, const std::string& daemonUser) {
  const auto listener = program::FindPeer(socket);
  if (!listener) {
    return std::string("nobody knows who listens there: ") + std::strerror(errno);
  }
  const uid_t own = geteuid();
  if (own == ROOT || *listener == ROOT || *listener == own ||
      program::FindUser(daemonUser) == *listener) {
    return {};
  }
  return "the user " + Describe(*listener) + " listens there, who is not you, root or " +
         program::Quote(daemonUser) + "; --daemon-user names another";
}

}  // namespace client
