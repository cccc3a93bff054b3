#include "state_place.h"

#include <pwd.h>
#include <unistd.h>

#include <ctime>
#include <string>
#include <vector>

#include "environment.h"

namespace vantacored {

namespace {

std::string HomeFolder() {
  const std::string home = Environment("HOME");
  if (!home.empty()) {
    return home;
  }
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> text(4096);
  const int problem = getpwuid_r(getuid(), &entry, text.data(), text.size(), &found);
  return problem != 0 || found == nullptr ? "" : found->pw_dir;
}

// Folders that are not absolute count as none, as the rules for such variables say. A supervisor
// may name several: the first is this program's.
std::string StateFolder() {
  const std::string ofSupervisor = Environment("STATE_DIRECTORY");
  const std::string first = ofSupervisor.substr(0, ofSupervisor.find(':'));
  if (first.rfind('/', 0) == 0) {
    return first;
  }
  const std::string ofUser = Environment("XDG_STATE_HOME");
  if (ofUser.rfind('/', 0) == 0) {
    return ofUser + "/vantacore";
  }
  const std::string home = HomeFolder();
  return home.rfind('/', 0) == 0 ? home + "/.local/state/vantacore" : "";
}

}  // namespace

apply::History::Place OpenHistory(const CommandLine& line) {
  apply::History::Place place;
  place.clock = [] { return static_cast<std::int64_t>(std::time(nullptr)); };
  if (line.isPartial) {
    place.reason = "--partial applies a part of the folder";
    return place;
  }
  if (line.stateDirectory.empty() && !line.isDaemon) {
    place.reason = "--state DIR says where to keep them";
    return place;
  }
  place.isExpected = true;
  const std::string folder = line.stateDirectory.empty() ? StateFolder() : line.stateDirectory;
  if (folder.empty()) {
    place.reason = "there is no home folder; --state DIR says where to keep them";
    return place;
  }
  place.store = revisions::RevisionStore::Open(folder, line.configDirectory, {}, place.reason);
  return place;
}

}  // namespace vantacored
