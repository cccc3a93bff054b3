#include "config_folder.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "device_document.h"
#include "file_text.h"
#include "folder_check.h"
#include "remote_listing.h"
#include "vlan_document.h"

namespace documents {

using Tarsel::DclConfigObject;

namespace {

constexpr const char* DEVICE = DEVICE_NAME;
constexpr const char* VLANS = VLANS_NAME;
constexpr const char* REMOTE = REMOTE_NAME;
constexpr int MOST_ATTEMPTS = 5;
constexpr std::size_t MAX_REMOTES = MAX_FOLDER_FILES - 2;  // beside device.json and vlans.json

// The remote documents, which may be thousands, are in the order of their names.
std::shared_ptr<const ConfigFile> FindFile(const Folder* folder, const std::string& name) {
  if (folder == nullptr || folder->files.empty()) {
    return nullptr;
  }
  const auto end = folder->files.end();
  auto first = folder->files.begin();
  if ((*first)->type == DclConfigObject::VLAN_OPTIONS) {
    if ((*first)->name == name) {
      return *first;
    }
    ++first;
  }
  const auto found = std::lower_bound(
      first, end, name,
      [](const auto& file, const std::string& wanted) { return file->name < wanted; });
  return found == end || (*found)->name != name ? nullptr : *found;
}

std::shared_ptr<const DeviceFile> FindDevice(const Folder* folder) {
  return folder == nullptr ? nullptr : folder->deviceFile;
}

// The order in which a reader goes through the folder.
bool ComesFirst(const Place& a, const Place& b) {
  const auto rank = [](const Place& place) {
    return std::make_tuple(place.file == DEVICE  ? 0
                           : place.file == VLANS ? 1
                                                 : 2,
                           std::string_view(place.file), place.position.line,
                           place.position.column);
  };
  return rank(a) < rank(b);
}

/// One attempt at reading the folder.
class Attempt {
 public:
  /// Files that have not changed are taken from `known`. It may be null, as may `inForce`.
  Attempt(const std::string& directory, const VlanShapes& shapes, bool isPartial, bool keepsTexts,
          const Folder* inForce, const Folder* known, const std::set<std::string>& expected)
      : m_directory(directory),
        m_shapes(shapes),
        m_isPartial(isPartial),
        m_keepsTexts(keepsTexts),
        m_inForce(inForce),
        m_known(known),
        m_expected(expected) {}

  void Run() {
    m_listing = ListRemotes(m_directory);
    ReadDevice();
    ReadConfig(VLANS, DclConfigObject::VLAN_OPTIONS);
    JudgeListing();
    const std::size_t count = std::min(m_listing.names.size(), MAX_REMOTES);
    for (std::size_t i = 0; i < count; ++i) {
      ReadConfig(m_listing.names[i], DclConfigObject::REMOTE_OPTIONS);
    }
  }

  /// Whether the folder has stayed as it was while it was read.
  bool IsStable() const {
    for (const auto& [name, seen] : m_seen) {
      const auto now = LookAt(m_directory + name);
      if (now.has_value() != seen.has_value() || (now && !now->LooksLike(*seen))) {
        return false;
      }
    }
    return ListRemotes(m_directory) == m_listing;
  }

  Reading& GetReading() { return m_reading; }

 private:
  void Tell(Severity severity, const std::string& file, std::string problem) {
    m_reading.findings.Add({severity, {file, {}, {}}, std::move(problem)});
  }

  void JudgeListing() {
    for (const std::string& name : m_listing.unprintable) {
      Tell(Severity::ERROR, name,
           "a name that cannot be printed, expected printable UTF-8, found escapes");
    }
    if (m_listing.names.size() > MAX_REMOTES) {
      Tell(Severity::ERROR, REMOTE,
           "too many documents, expected at most " + std::to_string(MAX_REMOTES) + ", found " +
               std::to_string(m_listing.names.size()));
    }
    if (!m_listing.problem.empty()) {
      Tell(Severity::ERROR, REMOTE,
           "cannot be listed, expected a folder, found \"" + m_listing.problem + "\"");
      KeepRemotes();
    }
  }

  // What is known of the file's last state; null if nothing.
  const FileStamp* KnownStamp(const std::string& name) const {
    if (m_known == nullptr) {
      return nullptr;
    }
    const auto found = m_known->stamps.find(name);
    return found == m_known->stamps.end() ? nullptr : &found->second;
  }

  /// Reads a file with `parse`, or takes over what is `known` of it if it has not changed. Null if
  /// there is no document.
  template <class File, class Parse>
  std::shared_ptr<const File> ReadOrTake(const std::string& name,
                                         const std::shared_ptr<const File>& known, bool mustBeThere,
                                         Parse parse) {
    const FileStamp* const before = known == nullptr ? nullptr : KnownStamp(name);
    const auto look = LookAt(m_directory + name);
    m_seen[name] = look;
    if (before != nullptr && look && before->isSettled && before->LooksLike(*look)) {
      m_bytes += look->size;
      return Take(name, known, *before);
    }
    FileText file = ReadFileText(m_directory + name);
    if (file.isMissing) {
      TellMissing(name, mustBeThere, file.problem);
      return nullptr;
    }
    m_reading.folder.unreadable.insert(name);  // unless it turns out to be a document
    m_bytes += file.text.size();
    if (!file.problem.empty() || m_bytes > MAX_FOLDER_BYTES) {
      Tell(Severity::ERROR, name,
           !file.problem.empty()
               ? file.problem
               : "too much for one folder, expected at most " +
                     std::to_string(MAX_FOLDER_BYTES >> 20) + " MiB in all files, found more");
      return nullptr;
    }
    if (before != nullptr && before->HasTextOf(file.stamp)) {
      KeepText(name, file.text);
      return Take(name, known, file.stamp);
    }
    auto fresh = std::make_shared<File>();
    if (parse(file.text, *fresh)) {
      KeepText(name, file.text);
      return Take<File>(name, fresh, file.stamp);
    }
    m_reading.findings.Add(fresh->findings);
    return nullptr;  // and no stamp: what is in force instead is not what the file says
  }

  template <class File>
  std::shared_ptr<const File> Take(const std::string& name, const std::shared_ptr<const File>& file,
                                   const FileStamp& stamp) {
    m_reading.folder.unreadable.erase(name);
    m_reading.folder.stamps[name] = stamp;
    m_reading.findings.Add(file->findings);
    return file;
  }

  void KeepText(const std::string& name, std::string& text) {
    if (m_keepsTexts) {
      m_reading.texts[name] = std::make_shared<const std::string>(std::move(text));
    }
  }

  bool MustBeThere(const std::string& name, bool isInForce) const {
    return isInForce || m_expected.count(name) != 0;
  }

  void TellMissing(const std::string& name, bool isInForce, const std::string& problem) {
    if (isInForce) {
      Tell(Severity::ERROR, name, "missing, expected the file that is in force, found nothing");
    } else if (name == DEVICE) {
      Tell(Severity::WARNING, name,
           "missing (counts as {\"default_vlan\": 1}), expected a file, found nothing");
    } else if (name == VLANS) {
      Tell(Severity::WARNING, name, "missing (counts as no VLANs), expected a file, found nothing");
    } else {  // a link to nothing: a file that goes meanwhile changes the listing
      Tell(Severity::ERROR, name, problem);
    }
  }

  void ReadDevice() {
    const auto inForce = FindDevice(m_inForce);
    auto& file = m_reading.folder.deviceFile;
    file =
        ReadOrTake<DeviceFile>(DEVICE, FindDevice(m_known), MustBeThere(DEVICE, inForce != nullptr),
                               [](const std::string& text, DeviceFile& fresh) {
                                 return ReadDeviceDocument(text, DEVICE, fresh);
                               });
    if (file == nullptr && m_isPartial) {
      file = inForce;
    }
  }

  void ReadConfig(const std::string& name, DclConfigObject::OptionType type) {
    const auto inForce = FindFile(m_inForce, name);
    const bool mustBeThere =
        type == DclConfigObject::VLAN_OPTIONS && MustBeThere(name, inForce != nullptr);
    auto file = ReadOrTake<ConfigFile>(name, FindFile(m_known, name), mustBeThere,
                                       [&](const std::string& text, ConfigFile& fresh) {
                                         fresh.name = name;
                                         fresh.type = type;
                                         return ReadVlanDocument(text, m_shapes, fresh);
                                       });
    if (file == nullptr && m_isPartial) {
      file = inForce;
    }
    if (file != nullptr) {
      m_reading.folder.files.push_back(std::move(file));
    }
  }

  // Those in force stay if the folder is read partially.
  void KeepRemotes() {
    if (!m_isPartial || m_inForce == nullptr) {
      return;
    }
    for (const auto& file : m_inForce->files) {
      if (file->type == DclConfigObject::REMOTE_OPTIONS) {
        m_reading.folder.files.push_back(file);
      }
    }
  }

  const std::string& m_directory;
  const VlanShapes& m_shapes;
  const bool m_isPartial;
  const bool m_keepsTexts;
  const Folder* const m_inForce;
  const Folder* const m_known;
  const std::set<std::string>& m_expected;
  RemoteListing m_listing;
  std::map<std::string, std::optional<FileStamp>> m_seen;  // how each file was found
  Reading m_reading;
  std::uint64_t m_bytes = 0;
};

}  // namespace

const Device& Folder::GetDevice() const {
  static const Device NONE;
  return deviceFile == nullptr ? NONE : deviceFile->device;
}

ConfigFolder::ConfigFolder(std::string directory, const Options& options)
    : m_directory(std::move(directory) + "/"),
      m_declared(options.protocols),
      m_shapes(m_declared),
      m_isPartial(options.isPartial),
      m_keepsTexts(options.keepsTexts) {}

Reading ConfigFolder::Read(const Folder* inForce, const Folder* like,
                           const std::set<std::string>& expected) const {
  Reading reading;
  const Folder* known = like;
  for (int i = 0; i < MOST_ATTEMPTS; ++i) {
    Attempt attempt(m_directory, m_shapes, m_isPartial, m_keepsTexts, inForce, known, expected);
    attempt.Run();
    // A file that has not changed since the attempt before has not been read again.
    attempt.GetReading().texts.merge(reading.texts);
    reading = std::move(attempt.GetReading());
    reading.folder.declared = m_declared;
    if (attempt.IsStable()) {
      Conclude(like, reading);
      return reading;
    }
    known = &reading.folder;
  }
  // What has been read may be halves of two folders; even a partial reading must not apply them.
  reading = {like == nullptr ? Folder() : *like, {}, like != nullptr, {}};
  reading.findings.Add({Severity::ERROR,
                        {".", {}, {}},
                        "changes while it is read, expected a folder that stays as it is, found a "
                        "change in each of " +
                            std::to_string(MOST_ATTEMPTS) + " readings"});
  return reading;
}

// What the documents tell together costs a walk over all routes, unless nothing has changed.
void ConfigFolder::Conclude(const Folder* like, Reading& reading) {
  Folder& folder = reading.folder;
  reading.isUnchanged =
      like != nullptr && folder.deviceFile == like->deviceFile && folder.files == like->files;
  folder.together = reading.isUnchanged ? like->together : CheckTogether(folder);
  reading.findings.Add(folder.together);
  reading.findings.Sort(ComesFirst);
}

}  // namespace documents
