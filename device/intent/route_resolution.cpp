#include "route_resolution.h"

#include <algorithm>
#include <optional>

#include "device/documents/merged_routes.h"

namespace intent {

namespace {

/// Looks up what routes refer to. Routes of one VLAN and of one interface often follow each other.
class Lookup {
 public:
  explicit Lookup(const RouteContext& context) : m_context(context) {}

  bool HasVlan(unsigned short vlan) {
    if (!m_isAsked || vlan != m_vlan) {
      m_isAsked = true;
      m_vlan = vlan;
      m_hasVlan = m_context.vlans.count(vlan) != 0;
      m_name = nullptr;
    }
    return m_hasVlan;
  }

  /// Of an interface of the VLAN that was asked for last. Names are kept by their documents.
  std::optional<std::uint32_t> IndexOf(const std::string& name) {
    if (name.empty()) {
      return 0;
    }
    if (&name != m_name) {
      m_name = &name;
      const auto found = m_context.interfaces->find({m_vlan, name});
      m_index = found == m_context.interfaces->end() ? std::nullopt : std::optional(found->second);
    }
    return m_index;
  }

 private:
  const RouteContext& m_context;
  bool m_isAsked = false;
  unsigned short m_vlan = 0;
  bool m_hasVlan = false;
  const std::string* m_name = nullptr;
  std::optional<std::uint32_t> m_index;
};

// Routes come in the order of interfaces' names, so those of one target, which begin at `first`,
// may have to change places. Of those that are the same then, the first stays.
void Order(std::size_t first, ResolvedRoutes& routes) {
  const auto isBefore = [](const ResolvedRoute& a, const ResolvedRoute& b) {
    return a.ComesBefore(b);
  };
  const auto begin = routes.begin() + static_cast<std::ptrdiff_t>(first);
  if (!std::is_sorted(begin, routes.end(), isBefore)) {
    std::stable_sort(begin, routes.end(), isBefore);
  }
  routes.erase(
      std::unique(begin, routes.end(),
                  [](const ResolvedRoute& a, const ResolvedRoute& b) { return !a.ComesBefore(b); }),
      routes.end());
}

}  // namespace

bool operator==(const RouteContext& a, const RouteContext& b) {
  return a.vlans == b.vlans && (a.interfaces == b.interfaces || *a.interfaces == *b.interfaces);
}

ResolvedRoutes ResolveRoutes(const documents::ConfigFiles& documents, const RouteContext& context,
                             UnresolvedRoutes* unresolved) {
  documents::MergedRoutes wanted(documents);
  Lookup lookup(context);
  ResolvedRoutes resolved;
  resolved.reserve(wanted.CountAll());
  std::size_t first = 0;  // of the target that came last
  while (const documents::Route* route = wanted.Next()) {
    if (!wanted.IsFirst()) {
      continue;
    }
    const bool hasVlan = lookup.HasVlan(route->target.vlan);
    const auto index = hasVlan ? lookup.IndexOf(wanted.GetInterface()) : std::nullopt;
    if (index) {
      if (!resolved.empty() && !(resolved.back().target == route->target)) {
        Order(first, resolved);
        first = resolved.size();
      }
      resolved.push_back({route->target, *index, route->metric});
    } else if (unresolved != nullptr) {
      unresolved->push_back({route->target, route->metric, wanted.GetInterface(), !hasVlan});
    }
  }
  Order(first, resolved);
  resolved.shrink_to_fit();
  return resolved;
}

}  // namespace intent
