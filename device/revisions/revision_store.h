// The revisions on disk.
#ifndef DEVICE_REVISIONS_REVISION_STORE_H
#define DEVICE_REVISIONS_REVISION_STORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "revision.h"

namespace revisions {

/// A folder that has, for each revision, a configuration folder named by its number with the
/// documents as they were applied. Documents that have not changed are hard links to those of an
/// older revision.
///
///     LOCK  FOLDER  STATE.json  17/  18/  18/revision.json  18/vlans.json ...
///
/// A change that is interrupted, by a kill, a loss of power or a full disk, leaves everything as it
/// was before or as it is after. A function that has returned without a problem has everything on
/// the disk. The next Open removes what was begun and not finished.
///
/// All functions except the getters work on files and take their time, so they are for the thread
/// pool. Only one thread at a time may use the object, the getters included. Nothing is thrown
/// except std::bad_alloc. What goes wrong is a text with the file's name and the reason.
class RevisionStore {
 public:
  struct Limits {
    std::size_t revisions = 50;
    std::uint64_t bytes = 256u << 20;  // of all documents; equal ones count once
  };

  /// Opens the store of a configuration folder: a folder in `stateDirectory` that is named after the
  /// real path of `configDirectory`, which need not exist. Makes what is missing, with the mode 0700
  /// (files 0600), and locks the store as long as the object lives. Where the disk is read-only, a
  /// store that exists can be opened and read. Returns null with a `problem` if the store cannot be
  /// used: another daemon has it, it is not a folder of this user alone, or a file in it is damaged.
  /// Damage is not mended: whoever moves the store away starts with an empty one.
  static std::unique_ptr<RevisionStore> Open(const std::string& stateDirectory,
                                             const std::string& configDirectory,
                                             const Limits& limits, std::string& problem);
  ~RevisionStore();
  RevisionStore(const RevisionStore&) = delete;
  RevisionStore& operator=(const RevisionStore&) = delete;

  /// Keeps a revision, the one after GetLast(), and makes `state` the state: both or neither. A
  /// document without a text is taken from an older revision that has it, or else from the
  /// configuration folder, if it still has this digest there. Then the oldest revisions go that
  /// exceed the limits, except those that the state names; those that cannot be removed stay
  /// without a problem. Returns what went wrong; empty if nothing has. It is wrong, too, when the
  /// revisions that the state names exceed the limit of bytes.
  std::string Keep(const Revision& revision, const Documents& documents, const State& state);
  /// Makes `state` the state. Returns what went wrong; then the state is the old one.
  std::string Set(const State& state);

  /// The state and the revisions that there are, in the order of their numbers. Texts for people are
  /// printable. References are good until the next change.
  const State& GetState() const;
  const std::vector<Revision>& GetRevisions() const;
  /// Null if there is no such revision.
  const Revision* Find(unsigned int number) const;
  /// The number of the last revision there has been; 0 before the first.
  unsigned int GetLast() const;

  /// Where the revision's documents are: a folder for documents::ConfigFolder. Nobody has looked
  /// whether somebody has changed them; Revision::digest tells.
  std::string PathOf(unsigned int number) const;
  /// The folder of the store, an absolute path.
  const std::string& GetPath() const;

 private:
  struct Files;
  explicit RevisionStore(std::unique_ptr<Files> files);
  std::unique_ptr<Files> m_files;
};

}  // namespace revisions

#endif
