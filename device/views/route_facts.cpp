#include "route_facts.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "device/routes/route_judge.h"
#include "names.h"

namespace views {

using routes::RouteState;

namespace {

bool IsSamePrefix(const Candidate& a, const Candidate& b) {
  return routes::ComparePrefixes(a.target, b.target) == 0;
}

bool IsInNetwork(const documents::Interface& interface, const Address& gateway) {
  const auto holds = [&](const auto& network) { return Holds(PrefixOf(network), gateway); };
  return std::any_of(interface.ip4.begin(), interface.ip4.end(), holds) ||
         std::any_of(interface.ip6.begin(), interface.ip6.end(), holds);
}

}  // namespace

RouteItem RouteFacts::Describe(const Candidate& candidate, const KnownRoute* known) {
  RouteItem item;
  item.target = candidate.target;
  item.protocol = candidate.protocol;
  item.isInStack = true;
  item.isInstalled = candidate.isInstalled;
  item.ifIndex = candidate.ifIndex != 0 ? candidate.ifIndex : candidate.requestedIfIndex;
  item.distance = candidate.distance;
  item.metric = candidate.metric;
  item.ageSeconds = candidate.ageSeconds;
  if (candidate.isInstalled) {
    AskKernel(item);
  } else {
    Explain(candidate, item);
  }
  if (candidate.protocol == Protocol::STATIC) {
    Note(candidate, known, item);
  }
  return item;
}

void RouteFacts::Explain(const Candidate& candidate, RouteItem& item) {
  if (!candidate.isUp) {
    item.reason = Reason::SWITCHED_OFF;
  } else if (!candidate.isReached) {
    const std::uint32_t down = FindDownInterface(candidate);
    item.reason = down != 0 ? Reason::INTERFACE_DOWN : Reason::NOT_REACHED;
    item.ifIndex = down != 0 ? down : item.ifIndex;
  } else if (const auto& rival = FindRival(candidate)) {
    item.reason = Reason::BEATEN;
    item.rival = {rival->protocol, rival->distance, rival->metric, rival->target.gateway};
    item.isRivalTold = rival->distance == candidate.distance && rival->metric == candidate.metric &&
                       !IsZero(rival->target.gateway);
  } else {
    item.reason = Reason::CHOOSING;
  }
}

// Those of a prefix follow each other.
const std::optional<Candidate>& RouteFacts::FindRival(const Candidate& candidate) {
  if (!m_rival || !IsSamePrefix(*m_rival, candidate)) {
    m_rival = m_sources.tables.FindInstalled(candidate.target.vlan, PrefixOf(candidate.target));
  }
  return m_rival;
}

// A next hop that is not reached has an interface if one was asked for, or if it is in the network
// of one of its VLAN's interfaces.
std::uint32_t RouteFacts::FindDownInterface(const Candidate& candidate) {
  const unsigned short vlan = candidate.target.vlan;
  const auto isDown = [&](std::uint32_t ifIndex) {
    return !m_sources.interfaces.IsInterfaceUp(vlan, ifIndex);
  };
  if (candidate.requestedIfIndex != 0) {
    return isDown(candidate.requestedIfIndex) ? candidate.requestedIfIndex : 0;
  }
  documents::RouteTarget hop;
  hop.vlan = vlan;
  hop.ip6 = candidate.target.ip6;
  hop.gateway = candidate.target.gateway;
  if (!m_down || !(m_down->first == hop)) {
    m_down = {hop, 0};
    const documents::Interfaces& all = m_sources.interfaces.Get();
    for (auto at = all.lower_bound({vlan, 0}); at != all.end() && at->first.first == vlan; ++at) {
      if (IsInNetwork(at->second, {hop.ip6, hop.gateway}) && isDown(at->first.second)) {
        m_down->second = at->first.second;
        break;
      }
    }
  }
  return m_down->second;
}

void RouteFacts::Note(const Candidate& candidate, const KnownRoute* known, RouteItem& item) const {
  if (known == nullptr) {
    item.note = Note::STRAY;
    return;
  }
  const RouteState& state = known->state;
  const bool isRefused = state.kind == RouteState::REFUSED;
  if (known->kind == KnownRoute::Kind::LEAVING) {
    item.note = isRefused                           ? Note::REMOVAL_REFUSED
                : state.IsHeld()                    ? Note::KEPT
                : state.kind == RouteState::SETTLED ? Note::STRAY
                                                    : Note::LEAVES;
    if (item.note == Note::KEPT) {
      item.leavesIn = static_cast<std::uint32_t>(m_sources.GetRoutes().CountSecondsOfKept());
    }
  } else if (known->metric != candidate.metric) {
    item.wantedMetric = known->metric;
    item.note = isRefused ? Note::CHANGE_REFUSED : Note::CHANGES;
  }
  if (isRefused && item.note != Note::NONE) {
    Refused(*known, item);
  }
}

void RouteFacts::Refused(const KnownRoute& known, RouteItem& item) const {
  item.status = known.state.value;
  NextTry(known, item);
}

void RouteFacts::NextTry(const KnownRoute& known, RouteItem& item) const {
  const rows::Differences::Difference* const difference =
      m_sources.GetDifferences().Find(rows::RouteRow{known.target, known.ifIndex});
  if (difference != nullptr) {
    const std::uint64_t now = m_sources.stack.Now();
    const std::uint64_t left = difference->next > now ? difference->next - now : 0;
    item.nextTry = static_cast<std::uint32_t>((left + 999) / 1000);
  }
}

std::optional<RouteItem> RouteFacts::Describe(const KnownRoute& known) const {
  RouteItem item;
  item.target = known.target;
  item.ifIndex = known.ifIndex;
  item.metric = known.metric;
  if (known.kind == KnownRoute::Kind::UNRESOLVED) {
    item.reason = known.unresolved->lacksVlan ? Reason::VLAN : Reason::INTERFACE;
    item.interface = &known.unresolved->interface;
    return item;
  }
  if (known.kind == KnownRoute::Kind::LEAVING) {
    return std::nullopt;
  }
  switch (known.state.kind) {
    case RouteState::NEVER_ASKED:
    case RouteState::TO_ASK:
      item.reason = Reason::TO_ASK;
      break;
    case RouteState::UNDER_WAY:
      item.reason = Reason::ANSWER;
      break;
    case RouteState::REFUSED:
      item.reason = Reason::REFUSED;
      Refused(known, item);
      break;
    default:
      DescribeAccepted(known, item);
  }
  if ((item.reason == Reason::TO_ASK || item.reason == Reason::ANSWER) &&
      !routes::IsInstanceReady(known.target.vlan, known.target.ip6)) {
    item.reason = Reason::INSTANCE;
  }
  return item;
}

// The tables need not tell what the port does.
void RouteFacts::DescribeAccepted(const KnownRoute& known, RouteItem& item) const {
  item.reason = Reason::ACCEPTED;
  if (!m_sources.stack.KnowsTables()) {
    return;
  }
  const auto found = m_sources.stack.FindRoute({known.target, known.ifIndex});
  if (!found) {
    item.reason = Reason::MISSING;
    NextTry(known, item);
  } else if (found->isInstalled) {
    item.isInstalled = true;
    item.reason = Reason::NONE;
    AskKernel(item);
  }
}

void RouteFacts::AskKernel(RouteItem& item) const {
  if (!m_sources.host.findKernelRefusal) {
    return;
  }
  if (auto found = m_sources.host.findKernelRefusal(item.target.vlan, PrefixOf(item.target))) {
    item.kernel = std::make_shared<const KernelRefusal>(std::move(*found));
  }
}

}  // namespace views
