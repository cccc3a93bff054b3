#include "route_pass.h"

#include <algorithm>
#include <utility>

namespace routes {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using Place = RouteBook::Place;

namespace {

// The first position from `at` on whose route is not of the other family. A VLAN has all its IPv4
// routes before those of IPv6, so what has to be passed over is a stretch; its end is searched for
// in steps that double.
std::size_t SkipFamily(const ResolvedRoutes& routes, std::size_t at, bool ip6) {
  while (at < routes.size() && routes[at].target.ip6 != ip6) {
    const unsigned short vlan = routes[at].target.vlan;
    const auto isOther = [&](const ResolvedRoute& route) {
      return route.target.vlan == vlan && route.target.ip6 != ip6;
    };
    std::size_t step = 1;
    while (at + step < routes.size() && isOther(routes[at + step])) {
      step *= 2;
    }
    const auto from = routes.begin() + static_cast<std::ptrdiff_t>(at + step / 2);
    const auto to =
        routes.begin() + static_cast<std::ptrdiff_t>(std::min(at + step, routes.size()));
    at = static_cast<std::size_t>(std::partition_point(from, to, isOther) - routes.begin());
  }
  return at;
}

}  // namespace

RoutePass::RoutePass(const RouteBook& book, const rows::StackPort& port, Judge judge)
    : m_book(book), m_port(port), m_judge(std::move(judge)) {}

void RoutePass::Begin() {
  m_slice.clear();
  m_inSlice = 0;
  m_isLastSlice = false;
  GoTo(Stage::IP4);
}

void RoutePass::GoTo(Stage stage) {
  m_stage = stage;
  m_at = 0;
  m_passed.reset();
  if (stage == Stage::END) {
    m_slice = {};
  }
}

// After the routes have changed their positions.
void RoutePass::FindPlace() {
  m_edition = m_book.GetEdition();
  m_at = 0;
  if (m_passed) {
    const RouteSet& set = m_stage == Stage::LEAVING ? m_book.GetLeaving() : m_book.GetWanted();
    const auto next = std::upper_bound(
        set.routes->begin(), set.routes->end(), *m_passed,
        [](const rows::RouteRow& a, const ResolvedRoute& b) { return CompareRoutes(a, b) < 0; });
    m_at = static_cast<std::size_t>(next - set.routes->begin());
  }
}

bool RoutePass::Continue(std::size_t most, const rows::Keeper::Found& found) {
  if (m_edition != m_book.GetEdition()) {
    FindPlace();
  }
  for (std::size_t i = 0; i < most && m_stage != Stage::END; ++i) {
    if (m_stage == Stage::LEAVING) {
      if (!LookAtLeaving(found)) {
        LookAtStrays(found);
        GoTo(Stage::END);
      }
    } else if (!CompareNext(most, found)) {
      GoTo(m_stage == Stage::IP4 ? Stage::IP6 : Stage::LEAVING);
    }
  }
  return m_stage != Stage::END;
}

const ResolvedRoute* RoutePass::NextWanted() {
  const ResolvedRoutes& routes = *m_book.GetWanted().routes;
  m_at = SkipFamily(routes, m_at, m_stage == Stage::IP6);
  return m_at < routes.size() ? &routes[m_at] : nullptr;
}

// Null if no other one of this stage's family follows.
const rows::StackRoute* RoutePass::NextOfStack(std::size_t most) {
  if (m_inSlice == m_slice.size() && !m_isLastSlice) {
    const std::optional<rows::StackRoute> last =
        m_slice.empty() ? std::nullopt : std::optional(m_slice.back());
    m_slice = m_port.ReadRoutes(last ? &*last : nullptr, most);
    m_inSlice = 0;
    m_isLastSlice = m_slice.empty();
  }
  if (m_inSlice == m_slice.size()) {
    return nullptr;
  }
  const rows::StackRoute& next = m_slice[m_inSlice];
  return next.route.target.ip6 == (m_stage == Stage::IP6) ? &next : nullptr;
}

// Whether there was anything to compare.
bool RoutePass::CompareNext(std::size_t most, const rows::Keeper::Found& found) {
  const ResolvedRoute* const wanted = NextWanted();
  const rows::StackRoute* const present = NextOfStack(most);
  if (wanted == nullptr && present == nullptr) {
    return false;
  }
  const int order = wanted == nullptr    ? 1
                    : present == nullptr ? -1
                                         : CompareRoutes(*wanted, present->route);
  m_passed = RowOf(order <= 0 ? *wanted : present->route);
  if (order <= 0) {
    const bool isSettled = m_book.GetWanted().states[m_at].kind == RouteState::SETTLED &&
                           order == 0 && present->isUp && present->route.metric == wanted->metric;
    if (!isSettled) {
      Tell({Place::WANTED, m_at}, *m_passed, order == 0 ? present : nullptr, found);
    }
    ++m_at;
  } else {
    LookAtUnknown(*present, found);
  }
  m_inSlice += order >= 0 ? 1 : 0;
  return true;
}

// What is under way comes with the leaving routes and the strays, whether the stack has it or not.
void RoutePass::LookAtUnknown(const rows::StackRoute& route,
                              const rows::Keeper::Found& found) const {
  const rows::RouteRow row = RowOf(route.route);
  const Place place = m_book.Find(row);
  if (place.where == Place::NOWHERE || place.where == Place::LEAVING) {
    const rows::Standing standing = m_judge(place, row, &route);
    if (standing.IsDifference()) {
      found(row, standing);
    }
  }
}

// Those that have gone are only looked at if the stack has them.
bool RoutePass::LookAtLeaving(const rows::Keeper::Found& found) {
  const RouteSet& leaving = m_book.GetLeaving();
  if (m_at == leaving.states.size()) {
    return false;
  }
  const Place place{Place::LEAVING, m_at++};
  m_passed = RowOf(leaving.At(place.position));
  const RouteState::Kind kind = leaving.states[place.position].kind;
  const bool isRefused = kind == RouteState::REFUSED;
  if (kind != RouteState::SETTLED && !(isRefused && m_port.FindRoute(*m_passed))) {
    Tell(place, *m_passed, nullptr, found);
  }
  return true;
}

// They are few.
void RoutePass::LookAtStrays(const rows::Keeper::Found& found) {
  for (const auto& stray : m_book.GetStrays()) {
    const std::optional<rows::StackRoute> route = m_port.FindRoute(stray.first);
    Tell({Place::STRAY, 0}, stray.first, route ? &*route : nullptr, found);
  }
}

void RoutePass::Tell(const Place& place, const rows::RouteRow& row, const rows::StackRoute* route,
                     const rows::Keeper::Found& found) {
  const rows::Standing standing = m_judge(place, row, route);
  if (standing.kind != rows::Standing::Kind::EQUAL) {
    found(row, standing);
  } else if (m_book.StateOf(place, row).kind == RouteState::REFUSED) {
    m_healed.push_back(row);
  }
}

}  // namespace routes
