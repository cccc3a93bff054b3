#include "store_files.h"

#include <algorithm>
#include <utility>

#include "durable_files.h"
#include "folder_writer.h"

namespace revisions {

RevisionStore::Files::Files(std::string storePath, std::string realPath, const Limits& limits,
                            int lock)
    : path(std::move(storePath)),
      configDirectory(std::move(realPath)),
      m_limits(limits),
      m_lock(lock) {}

// An empty store has no state yet. One that has lost its state is not empty.
std::string RevisionStore::Files::Read() {
  StoreListing listing;
  std::string problem = ListStore(path, listing);
  if (problem.empty() && !listing.hasState && listing.revisions.empty()) {
    problem = Replace(contents.written);
  }
  if (problem.empty()) {
    problem = ReadStore(path, listing, contents);
  }
  if (problem.empty()) {
    m_gone = std::move(listing.leftOver);
    RemoveGone();
  }
  return problem;
}

// What could not be read again is not written.
std::string RevisionStore::Files::Accept(const Revision& revision, const Documents& given,
                                         WrittenRevision& accepted) const {
  const unsigned int next = contents.written.last + 1;
  if (revision.number != next) {
    return path + ": expected revision " + std::to_string(next) + ", found " +
           std::to_string(revision.number);
  }
  const std::string problem = ReadRevision(WriteRevision({revision, given}), accepted);
  return problem.empty() ? problem : PathOf(next) + ": cannot be written, " + problem;
}

// The state may name only what there is, and what the limits allow to stay.
std::string RevisionStore::Files::Accept(const State& state, unsigned int last,
                                         WrittenState& accepted) const {
  const std::set<unsigned int> named = NamedBy(state);
  for (const unsigned int number : named) {
    if (contents.documents.count(number) == 0) {
      return path + ": there is no revision " + std::to_string(number);
    }
  }
  const std::uint64_t bytes = BytesOf(contents.documents, named);
  if (bytes > m_limits.bytes) {
    return path + ": too large, expected revisions of at most " + std::to_string(m_limits.bytes) +
           " bytes, found " + std::to_string(bytes);
  }
  const std::string problem = ReadState(WriteState({state, last}), accepted);
  return problem.empty() ? problem : path + STATE_FILE + ": cannot be written, " + problem;
}

std::string RevisionStore::Files::WriteFolder(const WrittenRevision& revision,
                                              const Documents& given) const {
  const unsigned int number = revision.revision.number;
  const std::string fresh = path + NEW_REVISION;
  std::string problem = Remove(fresh);
  if (problem.empty()) {
    problem = Remove(PathOf(number));
  }
  if (problem.empty()) {
    const FolderWriter writer(path, configDirectory, contents.documents, number);
    problem = writer.Write(fresh, given, WriteRevision(revision));
  }
  if (problem.empty()) {
    problem = Move(fresh, PathOf(number));
  }
  if (problem.empty()) {
    problem = SyncFolder(path);
  }
  return problem;
}

// From the rename on nobody can say which of the two states a failure has left.
std::string RevisionStore::Files::Replace(const WrittenState& written) {
  const std::string file = path + STATE_FILE;
  const std::string unfinished = file + UNFINISHED;
  std::string problem = WriteFile(unfinished, WriteState(written));
  if (problem.empty()) {
    m_isCertain = false;
    problem = Move(unfinished, file);
    problem = problem.empty() ? SyncFolder(path) : problem;
    m_isCertain = problem.empty();
  }
  if (!problem.empty()) {
    Remove(unfinished);
  }
  return problem;
}

std::string RevisionStore::Files::BeCertain() {
  return m_isCertain ? std::string() : Replace(contents.written);
}

std::string RevisionStore::Files::Change(const WrittenState& written) {
  std::string problem = Replace(written);
  if (problem.empty()) {
    contents.written = written;
  } else {
    BeCertain();
  }
  return problem;
}

std::string RevisionStore::Files::Set(const State& state) {
  WrittenState wanted;
  std::string problem = Accept(state, contents.written.last, wanted);
  if (problem.empty()) {
    problem = BeCertain();
  }
  return problem.empty() ? Change(wanted) : problem;
}

std::string RevisionStore::Files::Keep(const Revision& revision, const Documents& given,
                                       const State& state) {
  WrittenRevision accepted;
  std::string problem = Accept(revision, given, accepted);
  if (!problem.empty()) {
    return problem;
  }
  const unsigned int number = accepted.revision.number;
  contents.documents[number] = accepted.documents;
  WrittenState wanted;
  problem = Accept(state, number, wanted);
  if (problem.empty()) {
    problem = BeCertain();
  }
  if (problem.empty()) {
    problem = WriteFolder(accepted, given);
  }
  if (problem.empty()) {
    problem = Change(wanted);
  }
  if (!problem.empty()) {
    contents.documents.erase(number);
    DropFolder(number);
    return problem;
  }
  contents.revisions.push_back(std::move(accepted.revision));
  Prune();
  return {};
}

// As long as STATE.json may be the one that knows of the revision, its folder stays.
void RevisionStore::Files::DropFolder(unsigned int number) const {
  if (m_isCertain) {
    Remove(path + NEW_REVISION);
    Remove(PathOf(number));
  }
}

// What cannot be removed is tried again the next time. No caller has to know.
void RevisionStore::Files::Prune() {
  const auto named = NamedBy(contents.written.state);
  auto& revisions = contents.revisions;
  for (const unsigned int number : FindExcess(contents.documents, named, m_limits)) {
    const std::string gone = path + GONE_REVISION + std::to_string(number);
    if (Move(PathOf(number), gone).empty()) {
      m_gone.push_back(gone);
      contents.documents.erase(number);
      revisions.erase(std::find_if(revisions.begin(), revisions.end(),
                                   [number](const Revision& one) { return one.number == number; }));
    }
  }
  RemoveGone();
}

void RevisionStore::Files::RemoveGone() {
  if (!m_gone.empty() && SyncFolder(path).empty()) {
    m_gone.erase(std::remove_if(m_gone.begin(), m_gone.end(),
                                [](const std::string& gone) { return Remove(gone).empty(); }),
                 m_gone.end());
  }
}

}  // namespace revisions
