#include "revision_store.h"

#include <utility>

#include "store_files.h"
#include "store_place.h"

namespace revisions {

std::unique_ptr<RevisionStore> RevisionStore::Open(const std::string& stateDirectory,
                                                   const std::string& configDirectory,
                                                   const Limits& limits, std::string& problem) {
  const std::string realPath = RealPath(configDirectory);
  const std::string path = RealPath(stateDirectory) + "/" + StoreName(realPath);
  problem = MakePlace(path);
  if (!problem.empty()) {
    return nullptr;
  }
  const int lock = LockPlace(path, problem);
  if (lock < 0) {
    return nullptr;
  }
  auto files = std::make_unique<Files>(path, realPath, limits, lock);
  problem = ClaimPlace(path, realPath);
  if (problem.empty()) {
    problem = files->Read();
  }
  return problem.empty() ? std::unique_ptr<RevisionStore>(new RevisionStore(std::move(files)))
                         : nullptr;
}

RevisionStore::RevisionStore(std::unique_ptr<Files> files) : m_files(std::move(files)) {}

RevisionStore::~RevisionStore() = default;

std::string RevisionStore::Keep(const Revision& revision, const Documents& documents,
                                const State& state) {
  return m_files->Keep(revision, documents, state);
}

std::string RevisionStore::Set(const State& state) { return m_files->Set(state); }

const State& RevisionStore::GetState() const { return m_files->contents.written.state; }

const std::vector<Revision>& RevisionStore::GetRevisions() const {
  return m_files->contents.revisions;
}

const Revision* RevisionStore::Find(unsigned int number) const {
  for (const Revision& revision : GetRevisions()) {
    if (revision.number == number) {
      return &revision;
    }
  }
  return nullptr;
}

unsigned int RevisionStore::GetLast() const { return m_files->contents.written.last; }

std::string RevisionStore::PathOf(unsigned int number) const { return m_files->PathOf(number); }

const std::string& RevisionStore::GetPath() const { return m_files->path; }

}  // namespace revisions
