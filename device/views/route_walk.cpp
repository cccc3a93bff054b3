#include "route_walk.h"

#include <algorithm>

#include "names.h"
#include "vantacore/dc_router_mgr.h"

namespace views {

namespace {

// Of tables in which there is nothing.
constexpr std::size_t TABLES_A_SLICE = 64;
// So too, where an address is looked for.
constexpr std::size_t MATCHES_A_SLICE = 8;

// Of one prefix there are not many.
constexpr std::size_t ROWS_OF_A_PREFIX = 16;

bool PassesState(const RouteItem& item, RouteQuery::State state) {
  switch (state) {
    case RouteQuery::State::INSTALLED:
      return item.isInstalled;
    case RouteQuery::State::WAITING:
      return item.IsWaiting();
    default:
      return item.IsRefused();
  }
}

}  // namespace

bool RouteWalk::Next(RouteItems& items) {
  items.clear();
  const std::size_t most = m_query.address ? MATCHES_A_SLICE : TABLES_A_SLICE;
  for (std::size_t tables = 0; tables < most; ++tables) {
    if (!m_isInTable && !BeginTable()) {
      return false;
    }
    m_interface = m_query.interface.empty()
                      ? std::nullopt
                      : m_sources.interfaces.IndexOf(m_last.target.vlan, m_query.interface);
    if (m_isInTable) {
      Slice(items);
    }
    if (m_isInTable || !items.empty()) {
      break;
    }
  }
  return true;
}

std::optional<unsigned int> RouteWalk::FindVlan(unsigned int from) const {
  if (m_query.vlan) {
    return from <= *m_query.vlan ? std::optional<unsigned int>(*m_query.vlan) : std::nullopt;
  }
  std::optional<unsigned int> next = NextVlan(m_sources.GetRoutes(), from);
  const auto& vlans = Tarsel::DcRouterMgr::GetInstance()->GetVlans();
  const auto found =
      from <= UINT16_MAX ? vlans.lower_bound(static_cast<unsigned short>(from)) : vlans.end();
  if (found != vlans.end()) {
    next = std::min(next.value_or(UINT32_MAX), unsigned{found->first});
  }
  return next;
}

bool RouteWalk::BeginTable() {
  const auto vlan = FindVlan(m_nextVlan);
  if (!vlan) {
    return false;
  }
  m_nextVlan = *vlan + 1;
  m_isInTable = true;
  m_isBegun = false;
  const auto number = static_cast<unsigned short>(*vlan);
  m_last = {};
  m_last.protocol = Protocol::CONNECTED;
  m_within = m_query.prefix;
  if (m_query.address) {
    m_within = FindPrefix(number);
    m_isInTable = m_within.has_value();
  }
  Prefix all;
  all.address.ip6 = m_query.ip6;
  m_last.target = TargetOf(number, m_within.value_or(all));
  return true;
}

// What forwards counts. An address that nothing forwards shows what could.
std::optional<Prefix> RouteWalk::FindPrefix(unsigned short vlan) const {
  const auto state = m_query.state.value_or(RouteQuery::State::INSTALLED);
  auto found = m_sources.tables.FindLongest(vlan, *m_query.address, true);
  if (state == RouteQuery::State::INSTALLED && (found || m_query.state)) {
    return found;
  }
  const auto known = FindLongestKnown(m_sources.GetRoutes(), vlan, *m_query.address, m_query.state);
  if (state == RouteQuery::State::WAITING) {
    return known;
  }
  if (state == RouteQuery::State::INSTALLED) {
    found = m_sources.tables.FindLongest(vlan, *m_query.address, false);
  } else if (found && !IsRefusedByKernel(vlan, *found)) {
    found.reset();
  }
  return found && known && found->length > known->length ? found : known ? known : found;
}

bool RouteWalk::IsRefusedByKernel(unsigned short vlan, const Prefix& prefix) const {
  const auto& find = m_sources.host.findKernelRefusal;
  return find && find(vlan, prefix).has_value();
}

std::vector<Candidate> RouteWalk::ReadSlice() const {
  const bool isOne = m_within && !m_query.isLonger;
  const std::size_t most = isOne ? ROWS_OF_A_PREFIX : ROWS_A_SLICE;
  if (!m_isBegun) {
    return m_sources.tables.ReadCandidatesFrom(m_last.target.vlan, PrefixOf(m_last.target), most);
  }
  Candidate last;
  last.target = m_last.target;
  last.protocol = m_last.protocol;
  last.requestedIfIndex = m_last.isUnresolved ? UINT32_MAX : m_last.ifIndex;
  last.ifIndex = last.requestedIfIndex;
  return m_sources.tables.ReadCandidates(last.target.vlan, last.target.ip6, &last, most);
}

bool RouteWalk::IsBeyond(const documents::RouteTarget& target) const {
  if (!m_within) {
    return false;
  }
  const Prefix prefix = PrefixOf(target);
  return m_query.isLonger && !m_query.address ? !Holds(*m_within, prefix) : !(prefix == *m_within);
}

void RouteWalk::Reach(const Candidate& candidate) {
  m_last.target = candidate.target;
  m_last.protocol = candidate.protocol;
  m_last.ifIndex = candidate.requestedIfIndex;
  m_last.isUnresolved = false;
}

void RouteWalk::Reach(const KnownRoute& route) {
  m_last.target = route.target;
  m_last.protocol = Protocol::STATIC;
  m_last.ifIndex = route.ifIndex;
  m_last.isUnresolved = route.kind == KnownRoute::Kind::UNRESOLVED;
  if (m_last.isUnresolved) {
    m_last.interface = route.unresolved->interface;
  }
}

// Merges. What the host knows comes up to the last candidate of the slice, or to the end if there
// is none.
void RouteWalk::Slice(RouteItems& items) {
  const std::vector<Candidate> candidates = ReadSlice();
  KnownRoutes known(m_sources.GetRoutes(), m_last);
  m_isBegun = true;
  RouteFacts facts(m_sources);
  std::size_t at = 0;
  for (std::size_t rows = 0; rows < 2 * ROWS_A_SLICE; ++rows) {
    const Candidate* const candidate = at < candidates.size() ? candidates.data() + at : nullptr;
    const KnownRoute* const route = known.Get();
    if (candidate == nullptr && !candidates.empty()) {
      return;
    }
    if (candidate == nullptr && route == nullptr) {
      m_isInTable = false;
      return;
    }
    const int order = candidate == nullptr ? -1
                      : route == nullptr   ? 1
                                           : Compare(*route, *candidate);
    if (IsBeyond(order < 0 ? route->target : candidate->target)) {
      m_isInTable = false;
      return;
    }
    if (order < 0) {
      Reach(*route);
      if (const auto item = facts.Describe(*route)) {
        Add(*item, route->ifIndex, items);
      }
    } else {
      ++at;
      Reach(*candidate);
      Add(facts.Describe(*candidate, order == 0 ? route : nullptr), candidate->requestedIfIndex,
          items);
    }
    if (order <= 0) {
      known.Advance();
    }
  }
}

void RouteWalk::Add(const RouteItem& item, std::uint32_t requested, RouteItems& items) const {
  if (Passes(item, requested)) {
    items.push_back(item);
  }
}

bool RouteWalk::Passes(const RouteItem& item, std::uint32_t requested) const {
  if (m_query.protocol && *m_query.protocol != item.protocol) {
    return false;
  }
  if (m_query.via &&
      (m_query.via->ip6 != item.target.ip6 || m_query.via->bytes != item.target.gateway)) {
    return false;
  }
  if (!m_query.interface.empty()) {
    const bool isOver = m_interface && (*m_interface == item.ifIndex || *m_interface == requested);
    const bool isNamed = item.interface != nullptr && *item.interface == m_query.interface;
    if (!isNamed && (!isOver || item.interface != nullptr)) {
      return false;
    }
  }
  return !m_query.state || PassesState(item, *m_query.state);
}

}  // namespace views
