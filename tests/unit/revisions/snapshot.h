// What a store says, as one text, so that two of them can be compared.
#ifndef TESTS_UNIT_REVISIONS_SNAPSHOT_H
#define TESTS_UNIT_REVISIONS_SNAPSHOT_H

#include <map>
#include <string>

#include "device/revisions/revision_store.h"

namespace revisions_test {

/// The text of each file of a folder, by its path in there; of a folder in it "(folder)".
std::map<std::string, std::string> ReadFolder(const std::string& path);

/// The state.
std::string Describe(const revisions::State& state);
/// A revision with its documents, as the files are.
std::string Describe(const revisions::RevisionStore& store, const revisions::Revision& revision);
/// All of it.
std::string Describe(const revisions::RevisionStore& store);

}  // namespace revisions_test

#endif
