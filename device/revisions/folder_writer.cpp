#include "folder_writer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "device/documents/file_text.h"
#include "document_name.h"
#include "durable_files.h"

namespace revisions {

namespace {

bool IsRemote(const Document& document) { return document.name.find('/') != std::string::npos; }

bool IsFile(const std::string& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

/// The document's text as a file has it; null if the file has another text or none.
std::shared_ptr<const std::string> ReadAs(const Document& document, const std::string& path) {
  documents::FileText file = documents::ReadFileText(path);
  const bool isSame = file.problem.empty() && file.text.size() == document.size &&
                      file.stamp.digest == document.digest;
  return isSame ? std::make_shared<const std::string>(std::move(file.text)) : nullptr;
}

}  // namespace

FolderWriter::FolderWriter(const std::string& store, const std::string& configDirectory,
                           const Contents& contents, unsigned int number)
    : m_configDirectory(configDirectory) {
  for (auto older = contents.begin(); older != contents.lower_bound(number); ++older) {
    const std::string folder = store + "/" + std::to_string(older->first) + "/";
    for (const Document& document : older->second) {
      m_files[{document.size, document.digest}] = folder + document.name;
    }
  }
}

// An older revision's document is looked at before it is shared: somebody may have edited it. Where
// the file system has no hard links it is copied.
std::string FolderWriter::WriteDocument(const std::string& path, const Document& document) const {
  const std::string target = path + "/" + document.name;
  std::shared_ptr<const std::string> text = document.text;
  const auto older = m_files.find({document.size, document.digest});
  if (older != m_files.end() && IsFile(older->second)) {
    const auto kept = ReadAs(document, older->second);
    if (kept != nullptr && link(older->second.c_str(), target.c_str()) == 0) {
      return {};
    }
    text = kept == nullptr ? text : kept;
  }
  if (text == nullptr) {
    const std::string source = m_configDirectory + "/" + document.name;
    text = ReadAs(document, source);
    if (text == nullptr) {
      return source + ": is not as it was when it was read";
    }
  }
  return WriteFile(target, *text);
}

std::string FolderWriter::Write(const std::string& path, const Documents& documents,
                                const std::string& description) const {
  std::string problem = MakeFolder(path);
  const bool hasRemotes = std::any_of(documents.begin(), documents.end(), IsRemote);
  const std::string remotes = path + "/" + REMOTE;
  if (problem.empty() && hasRemotes) {
    problem = MakeFolder(remotes);
  }
  for (std::size_t i = 0; problem.empty() && i < documents.size(); ++i) {
    problem = WriteDocument(path, documents[i]);
  }
  if (problem.empty()) {
    problem = WriteFile(path + "/revision.json", description);
  }
  if (problem.empty() && hasRemotes) {
    problem = SyncFolder(remotes);
  }
  return problem.empty() ? SyncFolder(path) : problem;
}

}  // namespace revisions
