// What is known of every route that is wanted or has to go.
#ifndef DEVICE_ROUTES_ROUTE_BOOK_H
#define DEVICE_ROUTES_ROUTE_BOOK_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "route_lanes.h"
#include "route_set.h"

namespace routes {

inline rows::RouteRow RowOf(const intent::ResolvedRoute& route) {
  return {route.target, route.ifIndex};
}

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
    bool operator()(const rows::RouteRow& a, const rows::RouteRow& b) const {
      return CompareRoutes(a, b) < 0;
    }
  };
  using Strays = std::map<rows::RouteRow, RouteState, ByIdentity>;

  /// What a plan makes of leaving routes of whose prefix others are wanted.
  struct Holding {
    bool isOn = true;       // they stay until one of the others takes their place
    bool endsKept = false;  // those that are KEPT go, unless others are wanted than before
    bool endsAll = false;   // all that are held go
  };

  /// Another set of wanted routes. Afterwards it holds the old sets, to be freed anywhere.
  struct Plan {
    RouteSet wanted;   // as they were when the plan was begun, then the new ones
    RouteSet leaving;  // so too
    Holding holding;
    std::uint32_t revision = 0;  // that routes which are new are from
    RouteLanes::Works works;
    std::size_t kept = 0;
    bool holdsMore = false;             // than were held before
    std::vector<rows::RouteRow> ended;  // of those that were KEPT and go, the first MOST_NAMED
    std::size_t endedCount = 0;
  };
  static constexpr std::size_t MOST_NAMED = 20;

  /// Copies what Make needs.
  Plan BeginPlan(const Holding& holding, std::uint32_t revision = 0) const {
    return {m_wanted, m_leaving, holding, revision, {}, 0, false, {}, 0};
  }
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
  /// The number of routes that are to be asked for: to be there, or to be there no more.
  std::size_t CountToAsk(Asking what) const { return m_toAsk[static_cast<std::size_t>(what)]; }
  /// The numbers of leaving routes that are held.
  std::size_t CountAwaiting() const { return m_awaiting; }
  std::size_t CountKept() const { return m_kept; }
  /// Changes when places do.
  unsigned int GetEdition() const { return m_edition; }

  Place Find(const rows::RouteRow& row) const;
  /// Of a place that is not NOWHERE.
  RouteState StateOf(const Place& place, const rows::RouteRow& row) const;
  /// Null for a stray: what becomes of one is not noted.
  RouteLife* LifeOf(const Place& place);
  const RouteLife* LifeOf(const Place& place) const;
  /// A row that is NOWHERE becomes a stray; a stray that is SETTLED becomes nothing.
  void Set(const Place& place, const rows::RouteRow& row, RouteLane& lane, RouteState state);
  /// The next route of the lane that is to be asked for. The lane has one.
  Place NextToAsk(RouteLane& lane, Asking what) const;
  /// Whether the stack may have a route of the VLAN that has not been given up.
  bool MayHaveRoutes(unsigned short vlan) const;
  /// The stack has lost the VLAN's routes, and the library has nothing of them: those that are
  /// wanted have never been asked for. If the VLAN has gone, they are not to be asked for before
  /// the next plan, which may want them no more.
  void ForgetVlan(unsigned short vlan, bool hasGone);
  void Forget();

 private:
  static void EndKept(Plan& plan);
  static void AddWorks(const RouteSet& set, bool isLeaving, RouteLanes::Works& works);
  RouteState& At(const Place& place, const rows::RouteRow& row);
  std::size_t& ToAsk(Asking what) { return m_toAsk[static_cast<std::size_t>(what)]; }
  void Count(const RouteState& state, RouteLane& lane, std::size_t difference);
  void Gone(std::size_t count);
  void AdoptStrays();

  RouteSet m_wanted;
  RouteSet m_leaving;
  std::size_t m_left = 0;  // how many leaving routes have not gone
  Strays m_strays;
  RouteLanes m_lanes;
  std::array<std::size_t, 2> m_toAsk{};  // by Asking
  std::size_t m_awaiting = 0;
  std::size_t m_kept = 0;
  unsigned int m_edition = 0;
};

}  // namespace routes

#endif
