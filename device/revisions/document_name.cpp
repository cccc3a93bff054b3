#include "document_name.h"

#include <climits>

#include "device/program/printable.h"

namespace revisions {

bool IsDocumentName(const std::string& name) {
  if (name == "device.json" || name == "vlans.json") {
    return true;
  }
  const std::string begin = std::string(REMOTE) + "/";
  const std::string ending = ".json";
  if (name.compare(0, begin.size(), begin) != 0) {
    return false;
  }
  const std::string file = name.substr(begin.size());
  return file.size() > ending.size() && file.size() <= NAME_MAX && file[0] != '.' &&
         file.find('/') == std::string::npos &&
         file.compare(file.size() - ending.size(), ending.size(), ending) == 0 &&
         program::Printable(file, file.size()) == file;
}

}  // namespace revisions
