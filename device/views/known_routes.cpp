#include "known_routes.h"

#include <algorithm>
#include <cstring>

#include "names.h"

namespace views {

using documents::RouteTarget;
using intent::ResolvedRoute;
using intent::UnresolvedRoute;
using routes::RouteBook;
using routes::RouteSet;

namespace {

int CompareGateways(const RouteTarget& a, const RouteTarget& b) {
  return std::memcmp(a.gateway.data(), b.gateway.data(), a.gateway.size());
}

// Whether a static route's place is up to that of `last`. `rest` compares what counts after the
// gateway.
template <class Rest>
bool IsPassed(const RouteTarget& target, const RowKey& last, Rest rest) {
  int order = routes::ComparePrefixes(target, last.target);
  if (order == 0 && last.protocol != Protocol::STATIC) {
    return last.protocol > Protocol::STATIC;
  }
  order = order != 0 ? order : CompareGateways(target, last.target);
  return order != 0 ? order < 0 : rest();
}

template <class Routes, class Passed>
std::size_t CountPassed(const Routes& all, Passed isPassed) {
  return static_cast<std::size_t>(std::partition_point(all.begin(), all.end(), isPassed) -
                                  all.begin());
}

std::size_t CountPassed(const RouteSet& set, const RowKey& last) {
  return CountPassed(*set.routes, [&last](const ResolvedRoute& route) {
    return IsPassed(route.target, last,
                    [&] { return last.isUnresolved || route.ifIndex <= last.ifIndex; });
  });
}

bool IsOf(const RouteTarget& table, const RouteTarget& target) {
  return table.vlan == target.vlan && table.ip6 == target.ip6;
}

bool IsAskedFor(const KnownRoute& known, const std::optional<RouteQuery::State>& state) {
  using routes::RouteState;
  if (!state) {
    return known.kind != KnownRoute::Kind::LEAVING;
  }
  if (known.kind == KnownRoute::Kind::UNRESOLVED) {
    return state == RouteQuery::State::WAITING;
  }
  return state == RouteQuery::State::REFUSED
             ? known.state.kind == RouteState::REFUSED
             : known.state.IsToAsk() || known.state.kind == RouteState::UNDER_WAY;
}

}  // namespace

int Compare(const KnownRoute& a, const Candidate& b) {
  if (const int order = routes::ComparePrefixes(a.target, b.target)) {
    return order;
  }
  if (b.protocol != Protocol::STATIC) {
    return Protocol::STATIC < b.protocol ? -1 : 1;
  }
  if (const int order = CompareGateways(a.target, b.target)) {
    return order;
  }
  if (a.kind == KnownRoute::Kind::UNRESOLVED || a.ifIndex > b.requestedIfIndex) {
    return 1;
  }
  return a.ifIndex == b.requestedIfIndex ? 0 : -1;
}

KnownRoutes::KnownRoutes(const routes::RouteKeeper& keeper, const RowKey& last)
    : m_wanted(keeper.GetBook().GetWanted()),
      m_leaving(keeper.GetBook().GetLeaving()),
      m_unresolved(*keeper.GetUnresolved()),
      m_table(last.target),
      m_atWanted(CountPassed(m_wanted, last)),
      m_atLeaving(CountPassed(m_leaving, last)),
      m_atUnresolved(CountPassed(m_unresolved, [&last](const UnresolvedRoute& route) {
        return IsPassed(route.target, last,
                        [&] { return last.isUnresolved && route.interface <= last.interface; });
      })) {
  Choose();
}

void KnownRoutes::Advance() {
  if (m_route.kind == KnownRoute::Kind::UNRESOLVED) {
    ++m_atUnresolved;
  } else {
    ++(m_route.kind == KnownRoute::Kind::WANTED ? m_atWanted : m_atLeaving);
  }
  Choose();
}

void KnownRoutes::Choose() {
  m_isThere = false;
  Offer(m_wanted, KnownRoute::Kind::WANTED, m_atWanted);
  Offer(m_leaving, KnownRoute::Kind::LEAVING, m_atLeaving);
  if (m_atUnresolved != m_unresolved.size() && IsOf(m_table, m_unresolved[m_atUnresolved].target)) {
    const UnresolvedRoute& route = m_unresolved[m_atUnresolved];
    const auto isBefore = [&] {
      const int order = routes::ComparePrefixes(route.target, m_route.target);
      return order != 0 ? order < 0 : CompareGateways(route.target, m_route.target) < 0;
    };
    if (!m_isThere || isBefore()) {
      m_route = {KnownRoute::Kind::UNRESOLVED, route.target, 0, route.metric, {}, &route, {}};
      m_isThere = true;
    }
  }
}

void KnownRoutes::Offer(const RouteSet& set, KnownRoute::Kind kind, std::size_t position) {
  if (position == set.states.size() || !IsOf(m_table, set.At(position).target)) {
    return;
  }
  const ResolvedRoute& route = set.At(position);
  if (m_isThere && routes::CompareRoutes(route, m_route) > 0) {
    return;
  }
  const auto where =
      kind == KnownRoute::Kind::WANTED ? RouteBook::Place::WANTED : RouteBook::Place::LEAVING;
  m_route = {kind,    route.target,     route.ifIndex, route.metric, set.states[position],
             nullptr, {where, position}};
  m_isThere = true;
}

std::optional<Prefix> FindLongestKnown(const routes::RouteKeeper& keeper, unsigned short vlan,
                                       const Address& address,
                                       const std::optional<RouteQuery::State>& state) {
  Prefix prefix{address, static_cast<unsigned char>(address.ip6 ? 128 : 32)};
  for (;; --prefix.length) {
    prefix = Cut(prefix);
    RowKey from;
    from.target = TargetOf(vlan, prefix);
    from.protocol = Protocol::CONNECTED;
    for (KnownRoutes known(keeper, from);
         known.Get() != nullptr && PrefixOf(known.Get()->target) == prefix; known.Advance()) {
      if (IsAskedFor(*known.Get(), state)) {
        return prefix;
      }
    }
    if (prefix.length == 0) {
      return std::nullopt;
    }
  }
}

std::optional<unsigned int> NextVlan(const routes::RouteKeeper& keeper, unsigned int vlan) {
  std::optional<unsigned int> next;
  const auto offer = [&](const auto& all) {
    const std::size_t first =
        CountPassed(all, [vlan](const auto& route) { return route.target.vlan < vlan; });
    if (first != all.size()) {
      next = std::min(next.value_or(UINT32_MAX), unsigned{all[first].target.vlan});
    }
  };
  offer(*keeper.GetBook().GetWanted().routes);
  offer(*keeper.GetBook().GetLeaving().routes);
  offer(*keeper.GetUnresolved());
  return next;
}

}  // namespace views
