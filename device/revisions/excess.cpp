#include "excess.h"

#include <utility>

namespace revisions {

namespace {

/// What a number of revisions takes on the disk.
class Usage {
 public:
  void Add(const Documents& documents) {
    for (const Document& document : documents) {
      if (++m_uses[KeyOf(document)] == 1) {
        m_bytes += document.size;
      }
    }
  }
  void Subtract(const Documents& documents) {
    for (const Document& document : documents) {
      if (--m_uses[KeyOf(document)] == 0) {
        m_bytes -= document.size;
      }
    }
  }
  std::uint64_t GetBytes() const { return m_bytes; }

 private:
  using Key = std::pair<std::uint64_t, documents::Digest>;
  static Key KeyOf(const Document& document) { return {document.size, document.digest}; }

  std::map<Key, std::size_t> m_uses;
  std::uint64_t m_bytes = 0;
};

}  // namespace

std::set<unsigned int> NamedBy(const State& state) {
  std::set<unsigned int> named;
  if (state.inForce != 0) {
    named.insert(state.inForce);
  }
  if (state.unconfirmed) {
    named.insert({state.unconfirmed->revision, state.unconfirmed->back});
  }
  return named;
}

std::uint64_t BytesOf(const Contents& contents, const std::set<unsigned int>& revisions) {
  Usage usage;
  for (const unsigned int revision : revisions) {
    usage.Add(contents.at(revision));
  }
  return usage.GetBytes();
}

std::vector<unsigned int> FindExcess(const Contents& contents, const std::set<unsigned int>& needed,
                                     const RevisionStore::Limits& limits) {
  Usage usage;
  for (const auto& [number, documents] : contents) {
    usage.Add(documents);
  }
  std::vector<unsigned int> excess;
  for (const auto& [number, documents] : contents) {
    const std::size_t left = contents.size() - excess.size();
    if (left <= limits.revisions && usage.GetBytes() <= limits.bytes) {
      break;
    }
    if (needed.count(number) == 0) {
      usage.Subtract(documents);
      excess.push_back(number);
    }
  }
  return excess;
}

}  // namespace revisions
