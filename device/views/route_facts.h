// Makes a row of what the stack has and what the host knows of it.
#ifndef DEVICE_VIEWS_ROUTE_FACTS_H
#define DEVICE_VIEWS_ROUTE_FACTS_H

#include <optional>
#include <utility>

#include "known_routes.h"
#include "route_item.h"
#include "sources.h"

namespace views {

/// What it remembers from one row to the next is for one turn of the loop.
class RouteFacts {
 public:
  explicit RouteFacts(const Sources& sources) : m_sources(sources) {}

  /// The row of a candidate. `known` is what the host knows of it: null for nothing.
  RouteItem Describe(const Candidate& candidate, const KnownRoute* known);
  /// The row of a route that the stack does not have; nothing for one that is not wanted.
  std::optional<RouteItem> Describe(const KnownRoute& known) const;

 private:
  void Explain(const Candidate& candidate, RouteItem& item);
  const std::optional<Candidate>& FindRival(const Candidate& candidate);
  std::uint32_t FindDownInterface(const Candidate& candidate);
  void Note(const Candidate& candidate, const KnownRoute* known, RouteItem& item) const;
  void Refused(const KnownRoute& known, RouteItem& item) const;
  void NextTry(const KnownRoute& known, RouteItem& item) const;
  void DescribeAccepted(const KnownRoute& known, RouteItem& item) const;
  void AskKernel(RouteItem& item) const;

  const Sources& m_sources;
  std::optional<Candidate> m_rival;  // the installed one of the prefix that was asked for last
  // The gateway for which an interface was looked for last, and its index; 0 if there is none.
  std::optional<std::pair<documents::RouteTarget, std::uint32_t>> m_down;
};

}  // namespace views

#endif
