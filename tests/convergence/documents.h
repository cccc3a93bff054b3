// Random pairs of configurations, each a VLAN document and a remote document, well-formed and
// malformed in every part.
//
// Going from the first of a pair to the second ends as a start with the second does, since the second
// keeps to what leaves nothing behind: a protocol that runs in a VLAN runs there as long as the VLAN
// lives, and a remote document goes on naming the protocols that it has rows for. Whatever else is
// malformed may change at will. What remains behind otherwise has tests of its own.
#ifndef TESTS_CONVERGENCE_DOCUMENTS_H
#define TESTS_CONVERGENCE_DOCUMENTS_H

#include <json/value.h>

#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>

namespace convergence {

struct Documents {
  Json::Value vlans;
  Json::Value remote;

  std::string Text() const;
};

struct DocumentPair {
  Documents first;
  Documents second;

  std::string Text() const;
};

/// Which protocols of which VLANs have lists of rows from a document.
using RunningProtocols = std::map<unsigned short, std::set<std::string>>;

/// The same seed draws the same pair. `count` is told what came up in it.
DocumentPair DrawPair(unsigned int seed, const std::function<void(const std::string&)>& count);

/// Whether the pair is one after which nothing is expected to remain behind.
bool LeavesNothingBehind(const DocumentPair& pair);

/// The smallest pair found that still fails: members and elements are left out one after the other, in
/// either configuration, as long as `fails` says so and nothing is expected to remain behind.
DocumentPair Shrink(DocumentPair pair, const std::function<bool(const DocumentPair&)>& fails);

}  // namespace convergence

#endif
