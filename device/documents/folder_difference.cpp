// A question about the folder that costs little more than a look at each file.
#include <string>
#include <vector>

#include "config_folder.h"
#include "file_text.h"
#include "remote_listing.h"

namespace documents {

bool ConfigFolder::DiffersFrom(const Folder& inForce) const {
  const RemoteListing listing = ListRemotes(m_directory);
  if (!listing.problem.empty() || !listing.unprintable.empty()) {
    return true;
  }
  std::vector<std::string> names = listing.names;
  for (const char* name : {DEVICE_NAME, VLANS_NAME}) {
    if (inForce.stamps.count(name) != 0 || LookAt(m_directory + name)) {
      names.emplace_back(name);
    }
  }
  if (names.size() != inForce.stamps.size()) {
    return true;
  }
  for (const std::string& name : names) {
    const auto stamp = inForce.stamps.find(name);
    if (stamp == inForce.stamps.end() || !m_seen.HasTextOf(m_directory + name, stamp->second)) {
      return true;
    }
  }
  return false;
}

}  // namespace documents
