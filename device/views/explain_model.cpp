#include "explain_model.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "connected.h"
#include "device/intent/redistribution_plan.h"
#include "device/program/printable.h"
#include "known_routes.h"
#include "moments.h"
#include "names.h"
#include "route_facts.h"
#include "route_reasons.h"

namespace views {

using documents::RouteTarget;
using routes::RouteLife;

namespace {

rows::AddressRow RowOf(const documents::InterfaceKey& key, bool ip6, const unsigned char* bytes) {
  rows::AddressRow row{key.first, key.second, ip6, {}};
  std::copy_n(bytes, ip6 ? 16 : 4, row.address.begin());
  return row;
}

class Explainer {
 public:
  Explainer(const Sources& sources, Explanation& result)
      : m_sources(sources), m_facts(sources), m_names(sources.interfaces), m_result(result) {}

  void Find(const ExplainQuery& query);
  void Tell();

 private:
  std::optional<Prefix> FindForwarding(Prefix prefix) const;
  void TellRoutes(const std::vector<Candidate>& candidates);
  ExplainedRoute TellRoute(const KnownRoute& known, const std::vector<Candidate>& candidates);
  void TellLife(const KnownRoute& known, ExplainedRoute& route) const;
  void TellRevision(ExplainedRoute& route) const;
  void FindOrigins(const RouteTarget& target, ExplainedRoute& route) const;
  void TellAddresses();
  void TellCandidates(const std::vector<Candidate>& candidates);
  std::string JudgeWinner(const std::vector<Candidate>& candidates) const;
  std::string JudgeLoser(const Candidate& candidate, const RouteItem& item);
  void TellHandedOn(const std::vector<Candidate>& candidates);
  const KnownRoute* FindKnown(const Candidate& candidate) const;

  const Sources& m_sources;
  RouteFacts m_facts;
  InterfaceNames m_names;
  Explanation& m_result;
  std::vector<KnownRoute> m_known;
};

// What forwards the address is explained. If nothing does, what could.
void Explainer::Find(const ExplainQuery& query) {
  m_result.vlan = query.vlan;
  m_result.address = query.address;
  if (query.prefix) {
    m_result.prefix = query.prefix;
    m_result.forwards = FindForwarding(*query.prefix);
    return;
  }
  const Address& address = *query.address;
  m_result.forwards = m_sources.tables.FindLongest(query.vlan, address, true);
  m_result.prefix = m_result.forwards;
  std::optional<Prefix> longest = m_sources.tables.FindLongest(query.vlan, address, false);
  const auto known = FindLongestKnown(m_sources.GetRoutes(), query.vlan, address, {});
  const auto connected = FindLongestConnected(m_sources.interfaces, query.vlan, address);
  for (const auto& other : {known, connected}) {
    if (other && (!longest || other->length > longest->length)) {
      longest = other;
    }
  }
  if (!m_result.prefix) {
    m_result.prefix = longest;
  } else if (longest && longest->length > m_result.prefix->length) {
    m_result.longer = longest;
  }
}

// The longest match of the first address may be longer than the prefix.
std::optional<Prefix> Explainer::FindForwarding(Prefix prefix) const {
  const auto longest = m_sources.tables.FindLongest(m_result.vlan, prefix.address, true);
  if (!longest || longest->length <= prefix.length) {
    return longest;
  }
  for (;; --prefix.length) {
    prefix = Cut(prefix);
    if (m_sources.tables.FindInstalled(m_result.vlan, prefix)) {
      return prefix;
    }
    if (prefix.length == 0) {
      return std::nullopt;
    }
  }
}

void Explainer::Tell() {
  if (!m_result.prefix) {
    return;
  }
  // After an undo or a way back the folder says something else.
  const apply::History& history = m_sources.reloader.GetHistory();
  m_result.placesOf = history.GetUndone() ? history.GetInForce() : 0;
  RowKey from;
  from.target = TargetOf(m_result.vlan, *m_result.prefix);
  from.protocol = Protocol::CONNECTED;
  for (KnownRoutes known(m_sources.GetRoutes(), from);
       known.Get() != nullptr && PrefixOf(known.Get()->target) == *m_result.prefix;
       known.Advance()) {
    m_known.push_back(*known.Get());
  }
  const std::vector<Candidate> candidates =
      m_sources.tables.FindCandidates(m_result.vlan, *m_result.prefix);
  TellRoutes(candidates);
  TellAddresses();
  TellCandidates(candidates);
  TellHandedOn(candidates);
  if (m_sources.host.findKernelRefusal) {
    m_result.kernel = m_sources.host.findKernelRefusal(m_result.vlan, *m_result.prefix);
  }
}

const KnownRoute* Explainer::FindKnown(const Candidate& candidate) const {
  const auto found = std::find_if(m_known.begin(), m_known.end(), [&](const KnownRoute& known) {
    return Compare(known, candidate) == 0;
  });
  return found == m_known.end() ? nullptr : &*found;
}

// A leaving route that has gone is history.
void Explainer::TellRoutes(const std::vector<Candidate>& candidates) {
  for (const KnownRoute& known : m_known) {
    if (known.kind == KnownRoute::Kind::LEAVING &&
        known.state.kind == routes::RouteState::SETTLED) {
      continue;
    }
    if (m_result.routeCount++ < Explanation::MOST) {
      m_result.routes.push_back(TellRoute(known, candidates));
    }
  }
}

ExplainedRoute Explainer::TellRoute(const KnownRoute& known,
                                    const std::vector<Candidate>& candidates) {
  ExplainedRoute route;
  const auto candidate =
      std::find_if(candidates.begin(), candidates.end(),
                   [&](const Candidate& other) { return Compare(known, other) == 0; });
  if (candidate != candidates.end()) {
    route.item = m_facts.Describe(*candidate, &known);
  } else if (const auto item = m_facts.Describe(known)) {
    route.item = *item;
  } else {
    route.item.target = known.target;
    route.item.note = Note::LEAVES;
  }
  route.reason = DescribeReason(route.item, m_names);
  route.isWanted = known.kind != KnownRoute::Kind::LEAVING;
  route.metric = known.metric;
  route.interface = known.unresolved != nullptr
                        ? known.unresolved->interface
                        : std::string(m_names.Get(known.target.vlan, known.ifIndex));
  FindOrigins(known.target, route);
  route.interface = program::Printable(route.interface, route.interface.size());
  TellLife(known, route);
  return route;
}

void Explainer::TellLife(const KnownRoute& known, ExplainedRoute& route) const {
  const RouteLife* const life = m_sources.GetRoutes().GetBook().LifeOf(known.place);
  if (known.unresolved != nullptr || life == nullptr) {
    return;
  }
  const std::uint64_t now = m_sources.stack.Now();
  const auto ago = [now](std::uint64_t then) { return now / 1000 > then ? now / 1000 - then : 0; };
  const std::uint64_t answered = std::uint64_t{life->asked} + life->answeredIn;
  route.count = life->count;
  route.askedAgo = ago(life->asked);
  route.status = life->status;
  route.answeredAgo = ago(answered);
  const std::int64_t clock = std::chrono::duration_cast<std::chrono::milliseconds>(
                                 std::chrono::system_clock::now().time_since_epoch())
                                 .count();
  route.askedAt = FindSecond(life->asked, now, clock);
  route.answeredAt = FindSecond(answered, now, clock);
  route.revision = life->revision;
  TellRevision(route);
}

// While a revision is written, the store is the pool's.
void Explainer::TellRevision(ExplainedRoute& route) const {
  const apply::History& history = m_sources.reloader.GetHistory();
  if (route.revision == 0 || m_sources.reloader.IsBusy() || !history.IsKept()) {
    return;
  }
  if (const revisions::Revision* const revision = history.Find(route.revision)) {
    route.change = apply::DescribeTime(revision->time) + ", " + revisions::WordOf(revision->cause);
    route.change += revision->asker.empty() ? "" : " by " + revision->asker;
  }
}

void Explainer::FindOrigins(const RouteTarget& target, ExplainedRoute& route) const {
  for (const auto& document : m_sources.reloader.GetIntent().GetDocuments()) {
    const std::vector<documents::Route>& all = document->routes.Get();
    auto at = std::partition_point(all.begin(), all.end(), [&](const documents::Route& other) {
      return other.target < target;
    });
    for (; at != all.end() && at->target == target; ++at) {
      if (document->routes.InterfaceOf(*at) == route.interface) {
        route.origins.push_back(document->routes.PlaceOf(*at, document->name));
      }
    }
  }
}

// The device document's places are those of what it said, which may have changed since.
void Explainer::TellAddresses() {
  const documents::Device& device = m_sources.reloader.GetIntent().GetDevice();
  const documents::Interfaces& all = m_sources.interfaces.Get();
  for (auto at = all.lower_bound({m_result.vlan, 0});
       at != all.end() && at->first.first == m_result.vlan; ++at) {
    const documents::Interface& interface = at->second;
    const auto said = device.interfaces.find(at->first);
    const auto origin = device.origins.find(at->first);
    const bool hasOrigin = said != device.interfaces.end() && origin != device.origins.end();
    for (const documents::Ip4Network& network : interface.ip4) {
      if (!(PrefixOf(network) == *m_result.prefix)) {
        continue;
      }
      const bool isSame = hasOrigin && said->second.ip4 == interface.ip4;
      const auto row = RowOf(at->first, false, network.address.GetBytes());
      m_result.addresses.push_back({interface.name,
                                    isSame ? origin->second.ip4 : documents::Place{},
                                    DescribeTrouble(m_sources, row)});
    }
    for (const Tarsel::Ip6Prefix& network : interface.ip6) {
      if (!(PrefixOf(network) == *m_result.prefix)) {
        continue;
      }
      documents::Place place;
      for (std::size_t i = 0; hasOrigin && i < said->second.ip6.size(); ++i) {
        const Tarsel::Ip6Prefix& other = said->second.ip6[i];
        const bool isSame = other.GetAddress() == network.GetAddress();
        place = isSame && i < origin->second.ip6.size() ? origin->second.ip6[i] : place;
      }
      const auto row = RowOf(at->first, true, network.GetAddress().GetBytes());
      m_result.addresses.push_back({interface.name, place, DescribeTrouble(m_sources, row)});
    }
  }
}

void Explainer::TellCandidates(const std::vector<Candidate>& candidates) {
  m_result.candidateCount = candidates.size();
  const std::size_t count = std::min(candidates.size(), Explanation::MOST);
  for (std::size_t i = 0; i < count; ++i) {
    const Candidate& candidate = candidates[i];
    ExplainedCandidate explained;
    explained.item = m_facts.Describe(
        candidate, candidate.protocol == Protocol::STATIC ? FindKnown(candidate) : nullptr);
    explained.interface = m_names.Of(explained.item);
    explained.verdict = candidate.isBeside      ? "installed: equal to the first one, and beside it"
                        : candidate.isInstalled ? JudgeWinner(candidates)
                                                : JudgeLoser(candidate, explained.item);
    m_result.candidates.push_back(std::move(explained));
  }
}

// The best ones come first.
std::string Explainer::JudgeWinner(const std::vector<Candidate>& candidates) const {
  const Candidate& best = candidates.front();
  if (candidates.size() == 1) {
    return "installed: the only one";
  }
  const Candidate& next = candidates[1];
  if (!next.isUp || !next.isReached) {
    return "installed: the only one that can be";
  }
  if (best.distance != next.distance) {
    return "installed: the lowest distance";
  }
  return best.metric != next.metric ? "installed: the lowest metric of that distance"
                                    : "installed: the first of those that are equal";
}

std::string Explainer::JudgeLoser(const Candidate& candidate, const RouteItem& item) {
  if (item.reason != Reason::BEATEN) {
    return DescribeReason(item, m_names);
  }
  if (candidate.distance != item.rival.distance) {
    return "lost: its distance is higher than " + std::to_string(item.rival.distance);
  }
  return candidate.metric != item.rival.metric
             ? "lost: its metric is higher than " + std::to_string(item.rival.metric)
             : "lost: equal, and another one comes first";
}

void Explainer::TellHandedOn(const std::vector<Candidate>& candidates) {
  if (candidates.empty() || !candidates.front().isInstalled) {
    return;
  }
  const bool ip6 = m_result.prefix->address.ip6;
  const Protocol source = candidates.front().protocol;
  for (const HandedOn& rule : m_sources.tables.ReadHandedOn(m_result.vlan, ip6)) {
    const intent::Destination destination{m_result.vlan, ip6, rule.destination};
    if (rule.source == source) {
      m_result.handedOn.emplace_back(intent::NameOf(destination));
    }
  }
}

}  // namespace

Explanation Explain(const Sources& sources, const ExplainQuery& query) {
  Explanation result;
  Explainer explainer(sources, result);
  explainer.Find(query);
  explainer.Tell();
  return result;
}

}  // namespace views
