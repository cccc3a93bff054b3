#include "summary_counts.h"

#include <algorithm>
#include <bitset>
#include <limits>
#include <type_traits>
#include <utility>
#include <variant>

#include "elsewhere.h"
#include "vlans.h"

namespace views {

namespace {

using intent::Destination;
using intent::ResolvedRoute;
using Kind = SummaryCounts::Kind;

// Of the type among those of rows::Row.
template <class Type, std::size_t INDEX = 0>
constexpr std::size_t IndexOf() {
  if constexpr (std::is_same_v<std::variant_alternative_t<INDEX, rows::Row>, Type>) {
    return INDEX;
  } else {
    return IndexOf<Type, INDEX + 1>();
  }
}

std::size_t CountBits(intent::Sources sources) {
  return std::bitset<std::numeric_limits<intent::Sources>::digits>(sources).count();
}

// They are in the order of their VLANs.
std::size_t CountRoutes(const intent::ResolvedRoutes& routes, unsigned short vlan) {
  const auto begin = std::lower_bound(
      routes.begin(), routes.end(), vlan,
      [](const ResolvedRoute& route, unsigned short wanted) { return route.target.vlan < wanted; });
  const auto end = std::upper_bound(
      begin, routes.end(), vlan,
      [](unsigned short wanted, const ResolvedRoute& route) { return wanted < route.target.vlan; });
  return static_cast<std::size_t>(end - begin);
}

// An address as its row names it.
template <class Address>
rows::AddressRow RowOf(const documents::InterfaceKey& key, const Address& address, bool ip6) {
  rows::AddressRow row{key.first, key.second, ip6, {}};
  std::copy_n(address.GetBytes(), ip6 ? 16 : 4, row.address.begin());
  return row;
}

}  // namespace

const std::array<const char*, SummaryCounts::KINDS> KIND_WORDS = {
    "routing tables", "interfaces",    "addresses",
    "protocol rows",  "static routes", "redistribution"};
const std::array<const char*, SummaryCounts::KINDS> KIND_KEYS = {
    "instances",     "interfaces",    "addresses",
    "protocol_rows", "static_routes", "redistribution_rules"};

std::size_t Kind::CountAsWanted() const {
  return wanted - std::min(wanted, waiting + differing - unwanted);
}

void SummaryCounts::Add(const SummaryCounts& other) {
  for (std::size_t family = 0; family < routes.size(); ++family) {
    for (std::size_t i = 0; i < PROTOCOLS; ++i) {
      routes[family].candidates[i] += other.routes[family].candidates[i];
      routes[family].installed[i] += other.routes[family].installed[i];
    }
  }
  for (std::size_t i = 0; i < KINDS; ++i) {
    kinds[i].wanted += other.kinds[i].wanted;
    kinds[i].waiting += other.kinds[i].waiting;
    kinds[i].differing += other.kinds[i].differing;
    kinds[i].unwanted += other.kinds[i].unwanted;
    kinds[i].refused += other.kinds[i].refused;
  }
  up += other.up;
  down += other.down;
}

bool SummaryCollector::Continue() {
  bool isMore = false;
  switch (m_stage) {
    case Stage::VLANS:
      isMore = CollectVlans();
      break;
    case Stage::LEAVING:
      isMore = CollectLeaving();
      break;
    case Stage::DIFFERENCES:
      isMore = CollectDifferences();
      break;
    case Stage::PROTOCOL_ROWS:
      isMore = CollectProtocolRows();
      break;
    case Stage::END:
      return false;
  }
  m_stage = isMore ? m_stage : static_cast<Stage>(static_cast<int>(m_stage) + 1);
  return m_stage != Stage::END;
}

bool SummaryCollector::CollectVlans() {
  if (m_vlan) {
    CollectVlan(*m_vlan);
    return false;
  }
  for (std::size_t i = 0; i < VLANS_A_SLICE; ++i) {
    const std::optional<unsigned short> next = FindVlan();
    if (!next) {
      return false;
    }
    m_lastVlan = next;
    CollectVlan(*next);
  }
  return true;
}

// The next one that is there, that has an interface, or that routes wait for.
std::optional<unsigned short> SummaryCollector::FindVlan() const {
  const auto there = FindNextVlan(m_sources.interfaces, m_lastVlan);
  const auto lacking = NextLackingVlan(m_sources.GetRoutes(), m_lastVlan ? *m_lastVlan + 1u : 0u);
  if (!there || (lacking && *lacking < *there)) {
    return lacking ? std::optional(static_cast<unsigned short>(*lacking)) : std::nullopt;
  }
  return there;
}

// A request that is a repeat belongs to a row that differs.
bool SummaryCollector::IsWaiting(const rows::Row& row) const {
  return m_sources.stack.HasUnfinished() && m_sources.stack.IsUnfinished(row) &&
         m_sources.GetDifferences().Find(row) == nullptr;
}

void SummaryCollector::CollectVlan(unsigned short vlan) {
  SummaryCounts& counts = m_all[vlan];
  const routes::RouteKeeper& keeper = m_sources.GetRoutes();
  const std::size_t lacking = CountLacking(keeper, vlan);
  Kind& routes = counts.kinds[IndexOf<rows::RouteRow>()];
  routes.wanted = CountRoutes(*keeper.GetWanted(), vlan) + lacking;
  routes.waiting = keeper.CountOpen(vlan) + lacking;
  routes.unwanted = keeper.CountOpenRemovals(vlan);
  if (IsVlanThere(vlan)) {
    CollectInstances(vlan, counts);
  }
  CollectInterfaces(vlan, counts);
}

void SummaryCollector::CollectInstances(unsigned short vlan, SummaryCounts& counts) const {
  Kind& instances = counts.kinds[IndexOf<rows::InstanceRow>()];
  for (const bool ip6 : {false, true}) {
    counts.routes[ip6 ? 1 : 0] = m_sources.tables.Count(vlan, ip6);
    instances.wanted += 1;
    instances.waiting += IsWaiting(rows::InstanceRow{vlan, ip6}) ? 1 : 0;
  }
  CollectRules(vlan, counts);
}

void SummaryCollector::CollectInterfaces(unsigned short vlan, SummaryCounts& counts) const {
  Kind& interfaces = counts.kinds[IndexOf<rows::InterfaceRow>()];
  Kind& addresses = counts.kinds[IndexOf<rows::AddressRow>()];
  const auto& all = m_sources.interfaces.Get();
  for (auto i = all.lower_bound({vlan, 0}); i != all.end() && i->first.first == vlan; ++i) {
    const auto& [key, interface] = *i;
    ++(interface.up ? counts.up : counts.down);
    interfaces.wanted += 1;
    interfaces.waiting += IsWaiting(rows::InterfaceRow{key.first, key.second}) ? 1 : 0;
    for (const documents::Ip4Network& network : interface.ip4) {
      addresses.wanted += 1;
      addresses.waiting += IsWaiting(RowOf(key, network.address, false)) ? 1 : 0;
    }
    for (const Tarsel::Ip6Prefix& prefix : interface.ip6) {
      addresses.wanted += 1;
      addresses.waiting += IsWaiting(RowOf(key, prefix.GetAddress(), true)) ? 1 : 0;
    }
  }
}

// What waits for a protocol to become ready has not been requested.
void SummaryCollector::CollectRules(unsigned short vlan, SummaryCounts& counts) const {
  const routes::RuleKeeper& rules = m_sources.reloader.GetKnowledge().GetRules();
  Kind& kind = counts.kinds[IndexOf<rows::RuleRow>()];
  const Destination first{vlan, false, 0};
  const intent::Rules& wanted = *rules.GetWanted();
  for (auto i = wanted.lower_bound(first); i != wanted.end() && i->first.vlan == vlan; ++i) {
    kind.wanted += CountBits(i->second);
    kind.waiting += rules.GetWaiting().count(i->first) != 0 ? CountBits(i->second) : 0;
  }
  const auto& requests = rules.GetRequests();
  for (auto i = requests.lower_bound(rows::RuleRow{first, 0});
       i != requests.end() && i->first.destination.vlan == vlan; ++i) {
    const bool isWaiting = !i->second.isGivenUp && !i->second.isRepeat;
    kind.waiting += isWaiting ? 1 : 0;
    kind.unwanted += isWaiting && i->second.isWithdrawal ? 1 : 0;
  }
}

bool SummaryCollector::CollectLeaving() {
  return m_sources.stack.HasUnfinished() &&
         m_leaving.Continue(ROWS_A_SLICE, [this](const rows::Row& row) {
           const unsigned short vlan = rows::VlanOf(row);
           if (IsAsked(vlan) && IsWaiting(row)) {
             Kind& kind = m_all[vlan].kinds[row.index()];
             kind.waiting += 1;
             kind.unwanted += 1;
           }
         });
}

bool SummaryCollector::CollectDifferences() {
  const auto& all = m_sources.GetDifferences().GetAll();
  auto next = m_lastDifference ? all.upper_bound(*m_lastDifference) : all.begin();
  for (std::size_t i = 0; i < ROWS_A_SLICE && next != all.end(); ++i, ++next) {
    m_lastDifference = next->first;
    const unsigned short vlan = rows::VlanOf(next->first);
    if (IsAsked(vlan)) {
      const rows::Standing& standing = next->second.standing;
      Kind& kind = m_all[vlan].kinds[next->first.index()];
      kind.differing += 1;
      kind.unwanted += standing.kind == rows::Standing::Kind::UNWANTED ? 1 : 0;
      kind.refused += standing.status != 0 ? 1 : 0;
    }
  }
  return next != all.end();
}

// One that is unwanted is known as a difference, or goes with its VLAN.
bool SummaryCollector::CollectProtocolRows() {
  const rows::ProtocolRowsPort& port = m_sources.reloader.GetKnowledge().GetProtocolRows();
  for (std::size_t i = 0; i < ROWS_A_SLICE; ++i) {
    std::optional<rows::ProtocolRow> row = port.Next(m_lastRow ? &*m_lastRow : nullptr);
    if (!row) {
      return false;
    }
    const unsigned short vlan = rows::VlanOf(*row);
    const rows::Standing::Kind standing =
        IsAsked(vlan) ? port.Look(*row).kind : rows::Standing::Kind::UNWANTED;
    if (standing != rows::Standing::Kind::UNWANTED) {
      Kind& kind = m_all[vlan].kinds[IndexOf<rows::ProtocolRow>()];
      const bool isWanted = port.IsWanted(*row);
      const bool isWaiting = standing == rows::Standing::Kind::UNDER_WAY &&
                             m_sources.GetDifferences().Find(*row) == nullptr;
      kind.wanted += isWanted ? 1 : 0;
      kind.waiting += isWaiting ? 1 : 0;
      kind.unwanted += isWaiting && !isWanted ? 1 : 0;
    }
    m_lastRow = std::move(row);
  }
  return true;
}

}  // namespace views
