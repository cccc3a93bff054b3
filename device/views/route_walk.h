// Goes through the rows that `route` and `route6` ask for.
#ifndef DEVICE_VIEWS_ROUTE_WALK_H
#define DEVICE_VIEWS_ROUTE_WALK_H

#include <cstdint>
#include <optional>
#include <vector>

#include "known_routes.h"
#include "questions.h"
#include "route_facts.h"
#include "route_item.h"
#include "sources.h"

namespace views {

/// The rows of a table are in the order of prefixes, then of protocols, gateways and interfaces;
/// tables are in the order of VLANs. Rows may come and go between two slices. A row that stays is
/// met once, because the walk goes on after the key that it has come to.
class RouteWalk {
 public:
  /// How many rows of the stack and of the host are looked at in a slice.
  static constexpr std::size_t ROWS_A_SLICE = 256;

  RouteWalk(const Sources& sources, const RouteQuery& query) : m_sources(sources), m_query(query) {}

  /// The rows of the next slice that pass the filters: none does not mean the end. They are good
  /// until the loop's next turn. Returns whether there are more.
  bool Next(RouteItems& items);

 private:
  bool BeginTable();
  std::optional<unsigned int> FindVlan(unsigned int from) const;
  std::optional<Prefix> FindPrefix(unsigned short vlan) const;
  bool IsRefusedByKernel(unsigned short vlan, const Prefix& prefix) const;
  std::vector<Candidate> ReadSlice() const;
  void Slice(RouteItems& items);
  bool IsBeyond(const documents::RouteTarget& target) const;
  void Reach(const Candidate& candidate);
  void Reach(const KnownRoute& route);
  void Add(const RouteItem& item, std::uint32_t requested, RouteItems& items) const;
  bool Passes(const RouteItem& item, std::uint32_t requested) const;

  const Sources& m_sources;
  const RouteQuery m_query;
  bool m_isInTable = false;
  bool m_isBegun = false;                    // the first slice of the table has been read
  unsigned int m_nextVlan = 0;               // the first one that has not been gone through
  std::optional<Prefix> m_within;            // the only prefix of the table, or with what it holds
  RowKey m_last;                             // where the walk has come to
  std::optional<std::uint32_t> m_interface;  // the index of the interface asked for
};

}  // namespace views

#endif
