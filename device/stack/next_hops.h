// How the next hops of one instance are reached. It keeps the interfaces that are up, the connected
// prefixes, and for every next hop in use whether it resolves and over which interface.
//
// Candidates share a next hop. When an interface or a connected prefix comes or goes, the next hops
// that it can concern are found as a range of the sorted table and resolved again. Only for those
// that became usable or unusable the prefixes of their candidates are chosen for again. The cost of
// a flap therefore grows with what depends on the interface, and the work is done in steps.
//
// Whether a next hop resolves:
//  - without an interface: through the longest connected prefix that covers it (of several
//    interfaces with that prefix, the lowest index); the unspecified address does not resolve;
//  - with an interface that is not up: not at all;
//  - with one that is up: when it is unspecified (directly attached), when it is an IPv6 link-local
//    address, or when a connected prefix of this interface covers it.
#ifndef DEVICE_STACK_NEXT_HOPS_H
#define DEVICE_STACK_NEXT_HOPS_H

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "address.h"
#include "link.h"

namespace routing_stack {

struct NextHopKey {
  std::uint32_t ifIndex = 0;  // as asked for
  Address address;
};
inline bool operator<(const NextHopKey& a, const NextHopKey& b) {
  return a.ifIndex != b.ifIndex ? a.ifIndex < b.ifIndex : a.address < b.address;
}

struct NextHop : Link {  // linked while it has candidates to hand out
  const NextHopKey* key = nullptr;
  bool usable = false;
  std::uint32_t outInterface = 0;  // 0: not determined
  Link fresh;  // candidates whose prefix has been chosen for since `usable` last changed
  Link stale;  // candidates whose prefix has not yet
};

class NextHops {
 public:
  explicit NextHops(Family family) : m_family(family) {}

  void SetInterface(std::uint32_t ifIndex, bool up);

  /// A connected prefix counts its addresses. Returns true if this one is its first.
  bool AddConnected(const Prefix& prefix, std::uint32_t ifIndex);
  /// Returns true if this one was its last.
  bool RemoveConnected(const Prefix& prefix, std::uint32_t ifIndex);

  /// Returns the next hop, resolved. The pointer is valid until it is released.
  NextHop* Acquire(const Address& address, std::uint32_t ifIndex);
  /// Forgets the next hop if no candidate is linked to it.
  void Release(const NextHop& hop);

  bool HasWork() const { return !m_ranges.empty() || !m_changed.IsAlone(); }
  /// Does a bounded step. Returns a candidate whose prefix has to be chosen for again, or null.
  /// With `tellsMoves` the candidates of a next hop that is only reached over another interface are
  /// returned, too.
  Link* Work(bool tellsMoves);

 private:
  struct Range {
    NextHopKey next;
    Address last;
    bool begun;
  };
  /// Prefixes of equal length and address stand together, lowest interface first.
  using ConnectedKey = std::pair<Prefix, std::uint32_t>;

  void Resolve(const NextHopKey& key, NextHop& hop) const;
  std::uint32_t LongestConnected(const Address& address) const;
  bool IsOnLink(const Address& address, std::uint32_t ifIndex) const;
  void ResolveCovered(const Prefix& prefix, std::uint32_t ifIndex);
  void ResolveNext(bool tellsMoves);

  const Family m_family;
  std::set<std::uint32_t> m_up;
  std::map<ConnectedKey, unsigned> m_connected;
  std::map<unsigned, std::size_t, std::greater<unsigned>> m_lengths;  // longest first
  std::map<NextHopKey, NextHop> m_hops;
  std::deque<Range> m_ranges;
  Link m_changed;
};

}  // namespace routing_stack

#endif
