#include "users.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <vector>

namespace program {

namespace {

// An entry with its texts; a group has the names of all its members.
constexpr std::size_t LEAST = 16 * 1024;
constexpr std::size_t MOST = 16 * 1024 * 1024;

// Whether the system has an entry of this name.
template <class Entry, class Find>
bool FindEntry(const std::string& name, Find find, Entry& entry) {
  Entry* found = nullptr;
  int problem = ERANGE;
  for (std::size_t size = LEAST; problem == ERANGE && size <= MOST; size *= 2) {
    std::vector<char> texts(size);
    problem = find(name.c_str(), &entry, texts.data(), texts.size(), &found);
  }
  return problem == 0 && found != nullptr;
}

}  // namespace

std::optional<uid_t> FindUser(const std::string& name) {
  passwd entry{};
  return FindEntry(name, getpwnam_r, entry) ? std::optional<uid_t>(entry.pw_uid) : std::nullopt;
}

std::optional<gid_t> FindGroup(const std::string& name) {
  group entry{};
  return FindEntry(name, getgrnam_r, entry) ? std::optional<gid_t>(entry.gr_gid) : std::nullopt;
}

}  // namespace program
