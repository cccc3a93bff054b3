// The configuration folder: device.json, vlans.json and remote/*.json.
#ifndef DEVICE_DOCUMENTS_CONFIG_FOLDER_H
#define DEVICE_DOCUMENTS_CONFIG_FOLDER_H

#include <map>
#include <memory>
#include <set>
#include <string>

#include "document_shapes.h"
#include "findings.h"
#include "folder.h"
#include "members.h"
#include "seen_files.h"

namespace documents {

/// The result of one reading.
struct Reading {
  Folder folder;
  /// All of the folder's, also those of files that have not changed. If there are errors, the
  /// folder must not be applied, unless it was read partially.
  Findings findings;
  /// Whether the folder says the same as the one before: no file has changed, come or gone.
  bool isUnchanged = false;
  /// The texts of the files that have been read, by name, if they are to be kept. A file that has
  /// been taken over from an earlier reading unread has none.
  std::map<std::string, std::shared_ptr<const std::string>> texts;
};

constexpr const char* DEVICE_NAME = "device.json";
constexpr const char* VLANS_NAME = "vlans.json";

constexpr std::size_t MAX_FOLDER_FILES = 4096;
constexpr std::size_t MAX_FOLDER_BYTES = 512u << 20;

/// Reads and checks the folder. It keeps no text of what it has read. It may be used in any thread,
/// by one at a time, and calls neither the library nor the log.
class ConfigFolder {
 public:
  struct Options {
    /// What the protocol routers have declared.
    Protocols protocols{nullptr, 0};
    /// Leaves out what cannot be used, the smallest part of it, and keeps of a file that cannot be
    /// read what was in force.
    bool isPartial = false;
    /// Keeps the texts of what is read (Reading::texts).
    bool keepsTexts = false;
  };

  ConfigFolder(std::string directory, const Options& options);

  /// Reads the folder for a device that has not started. A missing device.json stands for
  /// {"default_vlan": 1}, and a missing vlans.json for one without VLANs, each with a warning,
  /// except that a missing file which is `expected` is an error.
  Reading ReadFirst(const std::set<std::string>& expected = {}) const {
    return Read(nullptr, nullptr, expected);
  }

  /// Reads the folder again. A file that has not changed since `inForce` was read is not read but
  /// taken from it. A file that `inForce` has and that is missing is an error, except in remote/,
  /// whose listing is configuration. A folder that changes while it is read is read again.
  Reading ReadAgain(const Folder& inForce) const { return Read(&inForce, &inForce, {}); }

  /// Reads this folder as ReadFirst does, for a device in which that of another folder is in force.
  /// What both say is shared with it, and whether the reading is unchanged is told by it.
  Reading ReadInstead(const Folder& inForce) const { return Read(nullptr, &inForce, {}); }

  /// Whether the folder says something else than `inForce`, or cannot be read. Looks at the files
  /// first and reads the texts of those only that look changed, once while they look the same;
  /// checks nothing. May be called while other threads read or ask.
  bool DiffersFrom(const Folder& inForce) const;

 private:
  Reading Read(const Folder* inForce, const Folder* like,
               const std::set<std::string>& expected) const;
  static void Conclude(const Folder* like, Reading& reading);

  const std::string m_directory;
  const Protocols m_declared;
  const VlanShapes m_shapes;
  const bool m_isPartial;
  const bool m_keepsTexts;
  mutable SeenFiles m_seen;
};

}  // namespace documents

#endif
