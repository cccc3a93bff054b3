// The routing information base of one instance.
//
// Candidates are kept in the order of their keys: prefix, protocol, next hop, interface. Those that
// are eligible (requested up, next hop usable) are kept a second time in the order of preference
// within their prefix: lowest administrative distance, then lowest metric, then, as a fixed
// tie-break, the order of the keys (lowest protocol code, lowest next hop, lowest interface index).
// The first candidate of a prefix is the one in the forwarding table. Where routes may have several
// next hops, others stand beside it (facts.h); which ones is kept for the prefixes that have any
// (rib_beside.cpp). Both orders are search trees,
// so the cost of a change is the logarithm of the table's size, however many candidates a prefix
// has.
//
// A listener that wants them is told the changes of the forwarding table (facts.h). The numbers of
// candidates are kept with each change.
//
// The consequences of a changed interface, connected prefix or distance are processed in bounded
// steps. While HasWork() is true, the choice for some prefixes may be an older one.
#ifndef DEVICE_STACK_RIB_H
#define DEVICE_STACK_RIB_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "facts.h"
#include "kept_counts.h"
#include "next_hops.h"
#include "routing_stack.h"

namespace routing_stack {

/// Route-protocol codes, as the rows show them.
enum Protocol : std::uint32_t { kConnected = 2, kStatic = 3, kRip = 8, kOspf = 13, kBgp = 14 };

RouteProtocol ToRouteProtocol(std::uint32_t proto);
Protocol CodeOf(RouteProtocol protocol);

struct CandidateKey {
  Prefix prefix;
  std::uint8_t proto = 0;
  std::uint32_t ifIndex = 0;  // as requested; 0 if it is to be found
  Address nextHop;
};

/// The administrative distances of an instance.
struct Distances {
  std::uint32_t ospfInternal = 0;
  std::uint32_t ospfExternal = 0;
  std::uint32_t externalBgp = 0;
  std::uint32_t internalBgp = 0;
  std::uint32_t rip = 0;

  std::uint32_t Of(std::uint32_t proto, bool internal) const;
};
bool operator==(const Distances& a, const Distances& b);

struct CandidateValues {
  std::uint32_t metric = 0;
  bool adminUp = true;
  bool internal = false;
};

/// A candidate in the table. There are many, so its members are arranged to leave no gaps, and its
/// next hop's address is the next hop's. Those that make its key are constant.
struct RibEntry : Link {  // linked to its next hop
  /// `nextHop` is that of the key, and null for a connected route.
  RibEntry(const CandidateKey& key, NextHop* nextHop, std::uint64_t now);

  Prefix GetPrefix() const { return {destination, length}; }
  Address GetNextHop() const { return via == nullptr ? Address() : via->key->address; }
  CandidateKey GetKey() const { return {GetPrefix(), proto, ifIndex, GetNextHop()}; }
  CandidateValues GetValues() const { return {metric, adminUp, internal}; }
  /// 0 while it is not determined.
  std::uint32_t OutInterface() const { return via == nullptr ? ifIndex : via->outInterface; }

  const Address destination;
  NextHop* const via;
  const std::uint32_t ifIndex;
  const std::uint8_t length;
  const std::uint8_t proto;

  bool adminUp : 1;
  bool internal : 1;
  bool ranked : 1;
  bool installed : 1;
  bool beside : 1;  // it stands beside the installed one
  std::uint32_t metric = 0;
  std::uint32_t distance = 0;
  const std::uint64_t created;    // by the clock
  std::uint64_t installedAt = 0;  // meaningful while installed
};

/// The instance whose forwarding table changes, who hears of it (a variable that is null while
/// nobody does), and the kind of row whose request brings the change.
struct Forwarding {
  std::uint32_t instance;
  Listener* const* listener;
  const RowType* cause;
};

class Rib {
 public:
  /// `all` counts the candidates of all RIBs.
  Rib(Family family, const Clock& clock, const Forwarding& forwarding, RouteCounts& all)
      : m_clock(clock), m_forwarding(forwarding), m_counts(all), m_hops(family) {}

  void SetDistances(const Distances& distances);
  /// How many next hops a route has at most; 1 at the beginning.
  void SetMostNextHops(std::size_t most);
  void SetInterface(std::uint32_t ifIndex, bool up) { m_hops.SetInterface(ifIndex, up); }
  void AddConnected(const Prefix& prefix, std::uint32_t ifIndex);
  void RemoveConnected(const Prefix& prefix, std::uint32_t ifIndex);

  /// Adds or overwrites a static route or a protocol's candidate. Returns whether it is new.
  bool Put(const CandidateKey& key, const CandidateValues& values);
  /// Returns false if there is none.
  bool Remove(const CandidateKey& key);
  bool Has(const CandidateKey& key) const { return Find(key) != nullptr; }
  /// Null if there is none.
  const RibEntry* Find(const CandidateKey& key) const;

  bool HasWork() const { return m_ranking || m_hops.HasWork(); }
  /// One bounded step towards the right choice for every prefix.
  void Work();

  /// The RIB is not in use any more: its candidates do not count. From now on it only shrinks.
  void Retire() { m_counts.Clear(); }
  /// Frees a bounded number of candidates of a RIB that has been retired. Returns false if none is
  /// left.
  bool Shrink();
  /// Nobody hears of further changes of this forwarding table.
  void Mute();

  /// Returns the first candidate after `key`, or the very first for a null pointer; null at the
  /// end.
  const RibEntry* After(const CandidateKey* key) const;
  /// The same after a candidate that is in the table.
  const RibEntry* After(const RibEntry& entry) const;
  /// Hands the candidates after `key`, or all for a null pointer, to `visit`, in their order and
  /// until it returns false. It must not change the table.
  template <typename Visit>
  void VisitAfter(const CandidateKey* key, Visit visit) const {
    auto next = key == nullptr ? m_entries.begin() : m_entries.upper_bound(*key);
    while (next != m_entries.end() && visit(*next)) {
      ++next;
    }
  }
  /// The first of the installed candidates after a prefix, or the very first for a null pointer.
  const RibEntry* InstalledAfter(const Prefix* prefix) const {
    return InstalledAfter(prefix, [](const RibEntry&) { return true; });
  }
  /// The first of these that satisfies a condition.
  template <typename Condition>
  const RibEntry* InstalledAfter(const Prefix* prefix, Condition condition) const {
    auto next = prefix == nullptr ? m_ranked.begin() : m_ranked.upper_bound(*prefix);
    while (next != m_ranked.end() && !((*next)->installed && condition(**next))) {
      ++next;
    }
    return next == m_ranked.end() ? nullptr : *next;
  }

  /// The same with the candidates at and after a prefix.
  template <typename Visit>
  void VisitFrom(const Prefix& prefix, Visit visit) const {
    CandidateKey first;
    first.prefix = prefix;
    for (auto next = m_entries.lower_bound(first); next != m_entries.end() && visit(*next);) {
      ++next;
    }
  }
  /// The candidate of a prefix that is in the forwarding table, if it is the preferred one. The cost
  /// is that of a search.
  const RibEntry* Installed(const Prefix& prefix) const;
  /// What stands beside it.
  std::vector<NextHopBeside> BesideOf(const Prefix& prefix) const;
  /// The candidates of a prefix in the order of preference; those that are not eligible come last.
  std::vector<const RibEntry*> Preferred(const Prefix& prefix) const;
  /// The longest prefix that holds the address and has a candidate; with `isInstalled`, one that is
  /// in the forwarding table.
  std::optional<Prefix> LongestMatch(const Address& address, bool isInstalled) const;

  const Distances& GetDistances() const { return m_distances; }
  const RouteCounts& GetCounts() const { return m_counts.Get(); }

 private:
  struct ByPreference {
    using is_transparent = void;
    bool operator()(const RibEntry* a, const RibEntry* b) const;
    bool operator()(const RibEntry* a, const Prefix& b) const { return a->GetPrefix() < b; }
    bool operator()(const Prefix& a, const RibEntry* b) const { return a < b->GetPrefix(); }
  };
  struct ByKey {
    using is_transparent = void;
    bool operator()(const RibEntry& a, const RibEntry& b) const;
    bool operator()(const RibEntry& a, const CandidateKey& b) const;
    bool operator()(const CandidateKey& a, const RibEntry& b) const;
  };
  using Entries = std::set<RibEntry, ByKey>;

  static RibEntry& At(Entries::iterator place);
  /// A candidate of the last prefix that is not after `prefix`, or null; with `isEligible`, of the
  /// prefixes that have an eligible one.
  const RibEntry* LastUpTo(const Prefix& prefix, bool isEligible) const;
  /// Takes a candidate out that is not ranked, and its next hop if that was its last.
  void Free(Entries::iterator place);
  RibEntry* Best(const Prefix& prefix) const;
  static bool IsEligible(const RibEntry& entry, const CandidateValues& values);
  /// Puts an entry at its place in the order of preference; takes it out if it is not eligible.
  void Rank(RibEntry& entry, bool eligible, const CandidateValues& values);
  /// Called after a change of the order in a prefix; the arguments are its best candidates before
  /// and after it. With `hasChanged` the best one is told though it is the same.
  void Install(const Prefix& prefix, RibEntry* before, RibEntry* after, bool hasChanged,
               std::uint64_t now);
  /// Whether routes may have several next hops, or some still have.
  bool KnowsSeveral() const { return m_mostNextHops > 1 || !m_beside.empty(); }
  /// Chooses anew what stands beside the best candidate of a prefix. Returns whether that has
  /// changed.
  bool ChooseBeside(const Prefix& prefix);
  /// Those that are to stand beside the best one.
  std::vector<RibEntry*> FindBeside(const Prefix& prefix) const;
  /// Whether the next hop of a prefix's best candidate, or of one beside it, is among those that
  /// have changed.
  bool HasMoved(const RibEntry& best) const;
  void Place(RibEntry& entry, const CandidateValues& values, std::uint64_t now);
  /// Chooses again for one prefix, after changes of next hops, distances or the number of next hops. The
  /// chosen one is told, too, if it was chosen before and may be reached over another interface.
  void Refresh(const Prefix& prefix);
  void RefreshNext();
  bool IsHeard() const { return *m_forwarding.listener != nullptr; }
  void Tell(ForwardingChange change, const RibEntry& entry) const;

  const Clock& m_clock;
  Forwarding m_forwarding;
  KeptCounts m_counts;
  NextHops m_hops;
  Distances m_distances;
  Entries m_entries;
  std::set<RibEntry*, ByPreference> m_ranked;
  std::size_t m_mostNextHops = 1;
  std::map<Prefix, std::vector<RibEntry*>> m_beside;  // by prefix, where there are any
  bool m_ranking = false;  // the distances, or the number of next hops, have changed
  bool m_rankingBegun = false;
  Prefix m_refreshedUpTo;
};

}  // namespace routing_stack

#endif
