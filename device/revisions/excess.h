// Which revisions have to go.
#ifndef DEVICE_REVISIONS_EXCESS_H
#define DEVICE_REVISIONS_EXCESS_H

#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "revision.h"
#include "revision_store.h"

namespace revisions {

/// The documents of each revision, by its number.
using Contents = std::map<unsigned int, Documents>;

/// The revisions that a state names: they cannot go.
std::set<unsigned int> NamedBy(const State& state);

/// How many bytes the documents of these revisions take. Equal ones count once.
std::uint64_t BytesOf(const Contents& contents, const std::set<unsigned int>& revisions);

/// The oldest revisions without which the others keep the limits, except those that are needed.
std::vector<unsigned int> FindExcess(const Contents& contents, const std::set<unsigned int>& needed,
                                     const RevisionStore::Limits& limits);

}  // namespace revisions

#endif
