// What is known of every route that is wanted or has to go.
#ifndef DEVICE_APPLY_ROUTE_BOOK_H
#define DEVICE_APPLY_ROUTE_BOOK_H

#include <cstddef>
#include <cstdint>
#include <map>

#include "route_lanes.h"
#include "route_set.h"

namespace apply {

/// Keeps the wanted routes, the leaving ones, which have been asked for and are not wanted any
/// more, and strays, which the stack has and nobody knows why. A route is in one of these only.
class RouteBook {
 public:
  /// Where a route is kept. Valid while the edition is the same.
  struct Place {
    enum Where : unsigned char { NOWHERE, WANTED, LEAVING, STRAY };
    Where where = NOWHERE;
    std::size_t position = 0;  // of WANTED and LEAVING
  };

  struct ByIdentity {
    bool operator()(const RouteRow& a, const RouteRow& b) const { return CompareRoutes(a, b) < 0; }
  };
  using Strays = std::map<RouteRow, RouteState, ByIdentity>;

  /// Another set of wanted routes. Afterwards it holds the old sets, to be freed anywhere.
  struct Plan {
    RouteSet wanted;   // as they were when the plan was begun, then the new ones
    RouteSet leaving;  // so too
    RouteLanes::Works works;
  };

  /// Copies what Make needs.
  Plan BeginPlan() const { return {m_wanted, m_leaving, {}}; }
  /// Merges. Nothing of the book but the plan is touched, so any thread may do it.
  static void Make(Plan& plan, intent::SharedRoutes wanted) noexcept;
  /// Puts the new sets in the places of the old ones. Between BeginPlan and this no state may
  /// change.
  void CarryOut(Plan& plan);

  const RouteSet& GetWanted() const { return m_wanted; }
  const RouteSet& GetLeaving() const { return m_leaving; }
  const Strays& GetStrays() const { return m_strays; }
  RouteLanes& GetLanes() { return m_lanes; }
  const RouteLanes& GetLanes() const { return m_lanes; }
  /// The number of routes that are to be asked for.
  std::size_t CountToAsk() const { return m_toAsk; }
  /// Changes when places do.
  unsigned int GetEdition() const { return m_edition; }

  Place Find(const RouteRow& row) const;
  /// Of a place that is not NOWHERE.
  RouteState StateOf(const Place& place, const RouteRow& row) const;
  /// A row that is NOWHERE becomes a stray; a stray that is SETTLED becomes nothing.
  void Set(const Place& place, const RouteRow& row, RouteLane& lane, RouteState state);
  /// The next wanted or leaving route of the lane that is to be asked for. The lane has one.
  Place NextToAsk(RouteLane& lane) const;
  /// The stack has lost the VLAN's routes, and the library has nothing of them: those that are
  /// wanted have never been asked for.
  void ForgetVlan(unsigned short vlan);
  void Forget();

 private:
  static void AddWorks(const RouteSet& set, bool isLeaving, RouteLanes::Works& works);
  RouteState& At(const Place& place, const RouteRow& row);
  void Gone(std::size_t count);
  void AdoptStrays();

  RouteSet m_wanted;
  RouteSet m_leaving;
  std::size_t m_left = 0;  // how many leaving routes have not gone
  Strays m_strays;
  RouteLanes m_lanes;
  std::size_t m_toAsk = 0;
  unsigned int m_edition = 0;
};

}  // namespace apply

#endif
