// Writes the folder of one revision.
#ifndef DEVICE_REVISIONS_FOLDER_WRITER_H
#define DEVICE_REVISIONS_FOLDER_WRITER_H

#include <map>
#include <string>
#include <utility>

#include "excess.h"
#include "revision.h"

namespace revisions {

class FolderWriter {
 public:
  /// `store` is the path of the store, which has a folder for each revision of `contents` that is
  /// older than `number`. `configDirectory` is where documents are read that neither an older
  /// revision has nor the caller. Borrows both paths.
  FolderWriter(const std::string& store, const std::string& configDirectory,
               const Contents& contents, unsigned int number);

  /// Writes the documents, and `description` as revision.json, into a new folder `path`, and has
  /// the system bring all of it to the disk. Returns what went wrong.
  std::string Write(const std::string& path, const Documents& documents,
                    const std::string& description) const;

 private:
  using Key = std::pair<std::uint64_t, documents::Digest>;

  std::string WriteDocument(const std::string& path, const Document& document) const;

  const std::string& m_configDirectory;
  std::map<Key, std::string> m_files;  // of older revisions
};

}  // namespace revisions

#endif
