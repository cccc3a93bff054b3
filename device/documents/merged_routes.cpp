#include "merged_routes.h"

#include <algorithm>

namespace documents {

bool MergedRoutes::Source::IsSameRoute(const Source& other) const {
  return at->target == other.at->target && Interface() == other.Interface();
}

bool MergedRoutes::Source::ComesLater(const Source& a, const Source& b) {
  if (!(a.at->target == b.at->target)) {
    return b.at->target < a.at->target;
  }
  const int order = a.Interface().compare(b.Interface());
  return order != 0 ? order > 0 : a.number > b.number;
}

MergedRoutes::MergedRoutes(const ConfigFiles& documents) {
  for (const auto& document : documents) {
    const std::vector<Route>& routes = document->routes.Get();
    Add(*document, routes.data(), routes.data() + routes.size());
  }
  std::make_heap(m_sources.begin(), m_sources.end(), Source::ComesLater);
}

MergedRoutes::MergedRoutes(const ConfigFiles& documents, unsigned short vlan) {
  for (const auto& document : documents) {
    const std::vector<Route>& routes = document->routes.Get();
    const auto begin = std::partition_point(
        routes.begin(), routes.end(), [vlan](const Route& r) { return r.target.vlan < vlan; });
    const auto end = std::partition_point(begin, routes.end(),
                                          [vlan](const Route& r) { return r.target.vlan == vlan; });
    Add(*document, routes.data() + (begin - routes.begin()),
        routes.data() + (end - routes.begin()));
  }
  std::make_heap(m_sources.begin(), m_sources.end(), Source::ComesLater);
}

void MergedRoutes::Add(const ConfigFile& document, const Route* begin, const Route* end) {
  if (begin != end) {
    m_sources.push_back({&document, begin, end, m_sources.size()});
    m_count += static_cast<std::size_t>(end - begin);
  }
}

const Route* MergedRoutes::Next() {
  if (m_sources.empty()) {
    return nullptr;
  }
  const Source before = m_last;
  m_last = m_sources.front();
  m_isFirst = before.at == nullptr || !m_last.IsSameRoute(before);
  Advance();
  return m_last.at;
}

// With one source left, which is the usual number, there is nothing to order.
void MergedRoutes::Advance() {
  if (m_sources.size() == 1) {
    if (++m_sources.front().at == m_sources.front().end) {
      m_sources.clear();
    }
    return;
  }
  std::pop_heap(m_sources.begin(), m_sources.end(), Source::ComesLater);
  if (++m_sources.back().at == m_sources.back().end) {
    m_sources.pop_back();
  } else {
    std::push_heap(m_sources.begin(), m_sources.end(), Source::ComesLater);
  }
}

}  // namespace documents
