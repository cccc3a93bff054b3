// The files of a store: what is known of them, and how they change.
#ifndef DEVICE_REVISIONS_STORE_FILES_H
#define DEVICE_REVISIONS_STORE_FILES_H

#include <string>
#include <vector>

#include "device/program/owned_descriptor.h"
#include "revision_store.h"
#include "store_reading.h"

namespace revisions {

/// The order of writes decides what a kill leaves. The folder of a new revision is complete, has its
/// own name and is on the disk before STATE.json is replaced by one that knows of it: that one
/// rename is the moment from which the new revision counts. Folders that have to go are renamed
/// before they are emptied, and only after the new STATE.json is on the disk.
struct RevisionStore::Files {
 public:
  /// Owns the descriptor, which is the store's lock.
  Files(std::string storePath, std::string realPath, const Limits& limits, int lock);

  /// Reads the store, makes the state of an empty one, and removes what is left over.
  std::string Read();
  std::string Keep(const Revision& revision, const Documents& given, const State& state);
  std::string Set(const State& state);
  std::string PathOf(unsigned int number) const { return path + "/" + std::to_string(number); }

  const std::string path;             // of the store
  const std::string configDirectory;  // its real path
  StoreContents contents;

 private:
  std::string Accept(const Revision& revision, const Documents& given,
                     WrittenRevision& accepted) const;
  std::string Accept(const State& state, unsigned int last, WrittenState& accepted) const;
  std::string WriteFolder(const WrittenRevision& revision, const Documents& given) const;
  std::string Replace(const WrittenState& written);
  std::string Change(const WrittenState& written);
  std::string BeCertain();
  void DropFolder(unsigned int number) const;
  void Prune();
  void RemoveGone();

  const Limits m_limits;
  const program::OwnedDescriptor m_lock;
  /// Whether STATE.json is what `contents` says. After a rename that may have failed it may be the
  /// one that was to replace it.
  bool m_isCertain = true;
  std::vector<std::string> m_gone;  // what could not be removed yet
};

}  // namespace revisions

#endif
